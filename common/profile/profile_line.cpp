#include "common/profile/profile_line.h"

#include <algorithm>
#include <cctype>

#include "common/text/ascii.h"

namespace localdisk {

std::optional<std::string_view> section_name(std::string_view line) {
  constexpr std::size_t shortest_header = 3;
  if (line.size() < shortest_header || line.front() != '[' || line.back() != ']') return std::nullopt;
  return trimmed(line.substr(1, line.size() - 2));
}

std::optional<Setting> setting_in(std::string_view line) {
  const auto separator = line.find('=');
  if (separator == std::string_view::npos || separator + 1 == line.size()) return std::nullopt;
  const std::string_view rest = line.substr(separator + 1);
  return Setting{line.substr(0, separator), rest.substr(0, rest.find('='))};
}

namespace {

// Bytes from 0x80 on are parts of characters in UTF-8, and no locale changes their case.
char lower(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x80 ? static_cast<char>(std::tolower(byte)) : c;
}

}  // namespace

RequestedName::RequestedName(std::string_view name) : name_(name) {
  for (char& c : name_) c = lower(c);
}

bool RequestedName::matches(std::string_view name) const {
  return std::equal(name.begin(), name.end(), name_.begin(), name_.end(),
                    [](char given, char requested) { return given == requested || lower(given) == requested; });
}

}  // namespace localdisk
