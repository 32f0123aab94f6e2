#include "common/text/url_encode.h"

#include <array>
#include <cstring>
#include <string_view>

namespace {

// What a byte is written as. All three characters are copied, whatever the length, which spares a branch per byte.
struct Form {
  std::array<char, 3> characters;
  unsigned char length;
};
using Forms = std::array<Form, 256>;

constexpr Forms forms_of_bytes(std::string_view unchanged) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  Forms forms{};
  for (std::size_t byte = 0; byte < forms.size(); ++byte)
    forms[byte] = {{'%', digits[byte >> 4], digits[byte & 0xF]}, 3};
  for (const char c : unchanged) forms[static_cast<unsigned char>(c)] = {{c}, 1};
  return forms;
}

constexpr std::string_view unchanged_in_path = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
constexpr Forms forms_in_path = forms_of_bytes(unchanged_in_path);
constexpr Forms forms_in_name = forms_of_bytes(unchanged_in_path.substr(0, unchanged_in_path.find('/')));

}  // namespace

std::string URLEncode(const char* text, bool encode_slash) {
  const Forms& forms = encode_slash ? forms_in_name : forms_in_path;
  std::size_t length = 0;
  for (const char* at = text; *at != '\0'; ++at) length += forms[static_cast<unsigned char>(*at)].length;

  constexpr std::size_t slack = sizeof(Form) - 1;  // behind a last character that stays as it is
  std::string encoded(length + slack, '\0');
  char* out = encoded.data();
  for (const char* at = text; *at != '\0'; ++at) {
    const Form& form = forms[static_cast<unsigned char>(*at)];
    std::memcpy(out, &form, sizeof form);
    out += form.length;
  }
  encoded.resize(length);
  return encoded;
}
