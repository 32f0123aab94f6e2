#include "common/text/utf8.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

template <class Convert>
std::string error_of(Convert convert) {
  try {
    convert();
  } catch (const std::range_error& error) {
    return error.what();
  }
  return "no error";
}

TEST(Utf8, GoesThereAndBack) {
  using Row = std::pair<std::string, std::wstring>;
  for (const auto& [text, wide] : std::to_array<Row>({
           {"", L""},
           {std::string("a\0\x7F", 3), std::wstring(L"a\0\x7F", 3)},
           {"\xC2\x80\xC3\xA9\xDF\xBF", L"\x80\xE9\x7FF"},
           {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", L"\x800\xD7FF\xE000\xFFFF"},
           {"\xF0\x90\x80\x80\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF", L"\x10000\x1F600\x10FFFF"},
           {"\xEF\xBB\xBF.", L"\xFEFF."},  // a byte-order mark stays
       })) {
    EXPECT_EQ(s2ws(text), wide);
    EXPECT_EQ(ws2s(wide), text);
    for (const std::size_t before : {7U, 31U, 2047U, 5000U}) {  // wherever blocks and chunks end
      const std::string all = std::string(before, 'x') + text + std::string(40, 'z');
      const std::wstring all_wide = std::wstring(before, L'x') + wide + std::wstring(40, L'z');
      EXPECT_EQ(s2ws(all), all_wide);
      EXPECT_EQ(ws2s(all_wide), all);
    }
  }
  EXPECT_EQ(wchar2utf8(L"\xE9\0x"), "\xC3\xA9");
}

TEST(Utf8, RejectsIllFormedText) {
  using Row = std::pair<const char*, std::vector<std::string>>;
  for (const auto& [fault, texts] : std::vector<Row>{
           {"no lead byte", {"\x80", "\xBF", "\xF8\x88\x80\x80\x80", "\xFE", "\xFF"}},
           {"longer than needed", {"\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF"}},
           {"surrogate", {"\xED\xA0\x80", "\xED\xBF\xBF"}},
           {"above the last", {"\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF7\xBF\xBF\xBF"}},
           {"cut off", {"\xC3", "\xE2\x82", "\xE2", "\xF0\x9F\x98", "\xF0\x9F", "\xF0", "\xE9"}},
           {"wrong second byte", {"\xC3\xC3", "\xE2\x28\xA1", "\xF0\x28\x8C\xBC"}},
           {"wrong later byte", {"\xE2\x82\xC0", "\xF0\x90\x28\xBC", "\xF0\x90\x80\x28"}},
       }) {
    for (const std::string& bad : texts) {
      for (const std::string& text : {bad, bad + "abc", "abc" + bad + std::string(40, 'z'),
                                      std::string(2046, 'x') + bad, "\xC3\xA9" + bad + "\xC3\xA9"}) {
        EXPECT_EQ(error_of([&] { s2ws(text); }), "wstring_convert: from_bytes error") << fault;
      }
    }
  }
}

TEST(Utf8, RejectsWhatIsNoCodePoint) {
  for (const long code : {0xD800L, 0xDFFFL, 0x110000L, 0x7FFFFFFFL, -1L, -0x80000000L}) {
    const std::wstring bad(1, static_cast<wchar_t>(code));
    for (const std::wstring& text : {bad, L"a" + bad, bad + std::wstring(40, L'z'), std::wstring(2047, L'x') + bad}) {
      EXPECT_EQ(error_of([&] { ws2s(text); }), "wstring_convert: to_bytes error") << code;
      EXPECT_EQ(error_of([&] { wchar2utf8(text.c_str()); }), "wstring_convert: to_bytes error") << code;
    }
  }
}

}  // namespace
