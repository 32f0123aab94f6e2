#include "common/text/wildcard.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "testing/oracles.h"

namespace {

bool fits(const std::string& expression, const std::string& name, bool ignore_case) {
  const bool narrow = IsNameInExpressionA(expression.c_str(), name.c_str(), ignore_case);
  const std::wstring wide_expression(expression.begin(), expression.end());
  const std::wstring wide_name(name.begin(), name.end());
  EXPECT_EQ(IsNameInExpression(wide_expression.c_str(), wide_name.c_str(), ignore_case), narrow);
  return narrow;
}

TEST(Wildcard, KnowsItsSpecialCharacters) {
  struct Row {
    const char* expression;
    std::vector<const char*> fitting, others;
  };
  for (const Row& row : std::vector<Row>{
           {"", {""}, {"a"}},
           {"*", {"", "a.b"}, {}},
           {"a*", {"a"}, {"ba"}},
           {"*.txt", {"a.txt", ".txt"}, {"a.txt.bak", "a.TXT"}},
           {"*?", {"a"}, {""}},
           {"?", {"a", "."}, {"", "ab"}},
           {"??", {"ab"}, {"a"}},
           {"?*", {"", "a"}, {}},  // past the end of the name, but the last star takes it
           {"?<", {"a"}, {""}},
           {">", {"a"}, {"."}},
           {">.txt", {".txt", "a.txt"}, {"ab.txt"}},
           {">b.", {".b."}, {"b."}},
           {"a\"b", {"a.b", "ab"}, {"a..b"}},
           {"<.txt", {"a.b.txt", ".txt"}, {"a.txt.b"}},
           {"<", {"", "abc"}, {"a.b"}},
           {"a<", {"abc"}, {"a.c"}},
           {"<.<", {"a.b.c"}, {"a"}},
           {"[a].b", {"[a].b"}, {"a.b"}},
       }) {
    for (const char* name : row.fitting) EXPECT_TRUE(fits(row.expression, name, false)) << row.expression << name;
    for (const char* name : row.others) EXPECT_FALSE(fits(row.expression, name, false)) << row.expression << name;
  }
}

TEST(Wildcard, IgnoresCaseOfWhatTheLocaleKnows) {
  EXPECT_TRUE(fits("*.TXT", "a.txt", true));
  EXPECT_FALSE(IsNameInExpressionA("\xE9", "\xC9", true));
  EXPECT_TRUE(IsNameInExpression(L"\x7FFFFFFF", L"\x7FFFFFFF", true));
  EXPECT_FALSE(IsNameInExpression(L"\x7FFFFFFF", L"\x7FFFFFFE", true));
}

std::vector<std::string> all_texts(std::string_view alphabet, std::size_t longest) {
  std::vector<std::string> texts{""};
  for (std::size_t done = 0; texts[done].size() < longest; ++done) {
    for (const char c : alphabet) texts.push_back(texts[done] + c);
  }
  return texts;
}

TEST(Wildcard, AgreesWithTryingEverything) {
  const std::vector<std::string> names = all_texts("a.", 6);
  for (const std::string& expression : all_texts("*?<>\"a.", 5)) {
    for (const std::string& name : names) {
      ASSERT_EQ(fits(expression, name, false), oracles::matches_wildcard(expression, name))
          << expression << " on " << name;
    }
  }
}

TEST(Wildcard, StaysQuickWithManyRuns) {
  std::string stars;
  for (int i = 0; i < 30; ++i) stars += i % 2 == 0 ? "*a" : "<a";
  const std::string name(255, 'a');
  EXPECT_FALSE(fits(stars + "b", name, false));
  EXPECT_TRUE(fits(stars, name, false));
}

}  // namespace
