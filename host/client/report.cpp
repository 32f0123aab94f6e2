#include "host/client/report.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace host {
namespace {

unsigned int byte_at(std::string_view text, std::size_t at) { return static_cast<unsigned char>(text[at]); }

// The length of the well-formed character at the front that a terminal may be given; 0 for anything else.
std::size_t printable_length(std::string_view text) {
  const unsigned int first = byte_at(text, 0);
  if (first < 0x80) return first >= 0x20 && first != 0x7F ? 1 : 0;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  for (std::size_t at = 1; at < length; ++at) {
    if ((byte_at(text, at) & 0xC0U) != 0x80) return 0;
  }
  const unsigned int second = byte_at(text, 1);
  const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool no_character = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
  const bool control = first == 0xC2 && second < 0xA0;
  return overlong || no_character || control ? 0 : length;
}

}  // namespace

std::string escaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = printable_length(text);
    if (length == 0) {
      std::array<char, 8> code{};
      std::snprintf(code.data(), code.size(), "\\x%02x", byte_at(text, 0));
      result.append(code.data());
      text.remove_prefix(1);
    } else {
      result.append(text.substr(0, length));
      text.remove_prefix(length);
    }
  }
  return result;
}

void print_error(std::string_view text) {
  const std::string line = "localdisk-host: " + escaped(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace host
