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
           {"x", "x", "xx", "xx"},
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
  std::string same = "abc";
  replace_all(same, same, same);
  EXPECT_EQ(same, "abc");
  std::string inserted = "a";
  replace_all(inserted, "a", inserted);
  EXPECT_EQ(inserted, "a");
}

TEST(Join, PutsTheSeparatorBetween) {
  EXPECT_EQ(join({"a", "b", "c"}, ", "), "a, b, c");
  EXPECT_EQ(join({"a"}, ","), "a");
  EXPECT_EQ(join({"", ""}, ","), ",");
  EXPECT_THROW(join({}, ","), std::out_of_range);
}

TEST(EndsWith, ComparesTheLastCharacters) {
  using Row = std::tuple<std::string, std::string, bool>;
  for (const auto& [text, ending, expected] : std::to_array<Row>({{"abc", "", true},
                                                                  {"abc", "bc", true},
                                                                  {"bc", "abc", false},
                                                                  {"ABC", "bc", false},
                                                                  {"", "", true}})) {
    EXPECT_EQ(ends_with(text, ending), expected) << text;
    EXPECT_EQ(ends_with(std::wstring(text.begin(), text.end()), std::wstring(ending.begin(), ending.end())),
              expected);
  }
}

TEST(Trim, RemovesClassicWhiteSpaceFromBothEnds) {
  using Row = std::tuple<std::string, std::string>;
  for (const auto& [text, trimmed] : std::to_array<Row>({
           {"  \t a b\r\n", "a b"},
           {" \t\n\v\f\r", ""},
           {"", ""},
           {"a", "a"},
           {"\xA0 a \x85", "\xA0 a \x85"},  // spaces in some locales, never here
       })) {
    SCOPED_TRACE(text);
    std::string changed = text;
    EXPECT_EQ(&trim(changed), &changed);
    EXPECT_EQ(changed, trimmed);
  }
}

}  // namespace
