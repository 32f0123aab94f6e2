#include "common/text/strings.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <string>
#include <tuple>

namespace {

TEST(ReplaceAll, ReplacesEachOccurrenceOnce) {
  using Row = std::tuple<std::string, std::string, std::string, std::string>;
  const std::string as(40, 'a');
  for (const auto& [text, searched, replacement, expected] : std::to_array<Row>({
           {"abab", "ab", "", ""},
           {"aa", "a", "ba", "baba"},
           {"aaa", "aa", "b", "ba"},
           {"abc", "", "x", "abc"},
           {"abc", "d", "x", "abc"},
           {"", "a", "x", ""},
           {"a" + as + "a" + as, as, "b", "bb" + std::string(2, 'a')},
       })) {
    std::string changed = text;
    replace_all(changed, searched, replacement);
    EXPECT_EQ(changed, expected) << text << ": " << searched;
    std::wstring wide(text.begin(), text.end());
    replace_all(wide, {searched.begin(), searched.end()}, {replacement.begin(), replacement.end()});
    EXPECT_EQ(std::string(wide.begin(), wide.end()), expected) << text << ": " << searched;
  }
}

TEST(ReplaceAll, StaysLinearAndAllowsOneObjectForAll) {
  std::string text(10'000'000, 'a');
  replace_all(text, "a", "bb");
  EXPECT_EQ(text, std::string(20'000'000, 'b'));
  std::string same = "aa";
  replace_all(same, "a", same);
  EXPECT_EQ(same, "aaaa");
  replace_all(same, same, same);
  EXPECT_EQ(same, "aaaa");
}

TEST(Join, PutsTheSeparatorBetween) {
  EXPECT_EQ(join({"a", "b", "c"}, ", "), "a, b, c");
  EXPECT_EQ(join({"a"}, ","), "a");
  EXPECT_EQ(join({"", ""}, ","), ",");
  EXPECT_THROW(join({}, ","), std::out_of_range);
}

TEST(EndsWith, ComparesTheLastCharacters) {
  for (const std::string ending : {"", "c", "bc", "abc"}) EXPECT_TRUE(ends_with(std::string("abc"), ending));
  for (const std::string ending : {"ab", "BC", "aabc"}) EXPECT_FALSE(ends_with(std::string("abc"), ending));
  EXPECT_TRUE(ends_with(std::wstring(L"abc"), std::wstring(L"bc")));
  EXPECT_FALSE(ends_with(std::wstring(L"bc"), std::wstring(L"abc")));
}

TEST(Trim, RemovesClassicWhiteSpaceFromBothEnds) {
  const auto trimmed = [](std::string text) { return trim(text); };
  EXPECT_EQ(trimmed("  \t a b\r\n"), "a b");
  EXPECT_EQ(trimmed(" \t\n\v\f\r"), "");
  EXPECT_EQ(trimmed(""), "");
  EXPECT_EQ(trimmed("\xA0 a \x85"), "\xA0 a \x85");  // spaces in some locales, never here
  std::string same = " a";
  EXPECT_EQ(&trim(same), &same);
}

}  // namespace
