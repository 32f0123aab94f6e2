// Any bytes, once as UTF-8 and once as wide text: what converts converts back, what is ill-formed throws.
#include <cstring>
#include <optional>
#include <stdexcept>

#include "common/text/utf8.h"
#include "fuzz/target.h"

namespace {

bool is_code_point(std::uint32_t code) { return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF); }

// By the book: the first byte's leading ones count the bytes, and the shortest form alone is good.
bool is_well_formed(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const auto first = static_cast<unsigned char>(text[at++]);
    if (first < 0x80) continue;
    const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC0 || first > 0xF7) return false;
    std::uint32_t code = first & (0x3FU >> more);
    for (int i = 0; i < more; ++i, ++at) {
      if (at == text.size() || (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80) return false;
      code = code << 6 | (static_cast<unsigned char>(text[at]) & 0x3FU);
    }
    constexpr std::uint32_t least[] = {0x80, 0x800, 0x10000};
    if (code < least[more - 1] || !is_code_point(code)) return false;
  }
  return true;
}

template <class Convert, class Text>
auto converted(Convert convert, const Text& text) -> std::optional<decltype(convert(text))> {
  try {
    return convert(text);
  } catch (const std::range_error&) {
    return std::nullopt;
  }
}

}  // namespace

FUZZ_TARGET(utf8) {
  const std::string text = input.rest();
  const auto wide = converted(s2ws, text);
  HOLDS(wide.has_value() == is_well_formed(text));
  if (wide) HOLDS(converted(ws2s, *wide) == text);
  if (wide) HOLDS(wchar2utf8(wide->c_str()) == text.c_str());

  std::wstring codes(text.size() / sizeof(wchar_t), L'\0');
  if (!codes.empty()) std::memcpy(codes.data(), text.data(), codes.size() * sizeof(wchar_t));
  bool good = true;
  for (const wchar_t code : codes) good = good && is_code_point(static_cast<std::uint32_t>(code));
  const auto bytes = converted(ws2s, codes);
  HOLDS(bytes.has_value() == good);
  if (bytes) HOLDS(converted(s2ws, *bytes) == codes);
}
