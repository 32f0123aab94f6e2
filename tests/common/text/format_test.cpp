#include "common/text/format.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <initializer_list>
#include <string>

namespace {

TEST(Format, GivesTheWholeText) {
  EXPECT_EQ(string_format("[%-9s] %s/%05.1f %lld", "PROTOCOL", "a", 2.25, 1LL << 40),
            "[PROTOCOL ] a/002.2 1099511627776");
  EXPECT_EQ(wstring_format(L"%ls/%s %d%%", L"\x1F600", "a", 5), L"\x1F600/a 5%");
  EXPECT_EQ(string_format(""), "");
  EXPECT_EQ(wstring_format(L""), L"");
  for (const int length : {1, 255, 256, 257, 258, 511, 512, 513, 515, 517, 10000, 1000000}) {
    const auto size = static_cast<std::size_t>(length);
    EXPECT_EQ(string_format("%0*d", length, 0), std::string(size, '0'));
    EXPECT_EQ(wstring_format(L"%0*d", length, 0), std::wstring(size, L'0'));
    EXPECT_EQ(wstring_format(L"%ls", std::wstring(size, L'x').c_str()), std::wstring(size, L'x'));
  }
}

TEST(Format, TakesEveryCharacter) {
  for (const wchar_t c : std::initializer_list<wchar_t>{WCHAR_MAX, WCHAR_MIN, L'\x10FFFF', L'\1'}) {
    const std::wstring text(10000, c);
    EXPECT_EQ(wstring_format(L"%ls", text.c_str()), text);
  }
}

TEST(Format, EndsAtTheFirstNul) {
  EXPECT_EQ(string_format("ab%cd", 0), "ab");
  EXPECT_EQ(wstring_format(L"ab%lcd", L'\0'), L"ab");
  EXPECT_EQ(string_format(std::string("a\0b", 3)), "a");
}

TEST(Format, IsEmptyWhenTheFormatterFails) {
  EXPECT_EQ(string_format("abc%lc", 0xD800), "");   // a surrogate is no character in any encoding
  EXPECT_EQ(string_format("%2147483648d", 1), "");  // longer than the formatter can count
  EXPECT_EQ(wstring_format(L"%2147483648d", 1), L"");
  EXPECT_EQ(wstring_format(L"abc%s", "\xFF"), L"");        // no character of the locale
  EXPECT_EQ(wstring_format(L"%1000d%s", 1, "\xFF"), L"");  // found only after growing
}

}  // namespace
