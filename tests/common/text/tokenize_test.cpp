#include "common/text/tokenize.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Pieces = std::vector<std::string>;
using WidePieces = std::vector<std::wstring>;

constexpr auto same = [](const std::string& piece) { return piece; };
constexpr auto wide_same = [](const std::wstring& piece) { return piece; };
std::wstring wide(const std::string& text) { return {text.begin(), text.end()}; }
WidePieces wide(const Pieces& pieces) {
  WidePieces result;
  for (const std::string& piece : pieces) result.push_back(wide(piece));
  return result;
}

TEST(Tokenize, EachWayHasItsOwnRuleForEmptyPieces) {
  struct Row {
    std::string text;
    Pieces runs, ended, between;  // split_delim, tokenize at a character, tokenize at a string
  };
  for (const Row& row : std::vector<Row>{
           {"", {}, {}, {""}},
           {",", {}, {""}, {"", ""}},
           {",,", {}, {"", ""}, {"", "", ""}},
           {"a", {"a"}, {"a"}, {"a"}},
           {"a,", {"a"}, {"a"}, {"a", ""}},
           {",a", {"a"}, {"", "a"}, {"", "a"}},
           {"a,b,c", {"a", "b", "c"}, {"a", "b", "c"}, {"a", "b", "c"}},
           {"a,,b", {"a", "b"}, {"a", "", "b"}, {"a", "", "b"}},
           {"a,\xFF", {"a", "\xFF"}, {"a", "\xFF"}, {"a", "\xFF"}},
       }) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(split_delim(row.text, ",", same), row.runs);
    EXPECT_EQ(tokenize(row.text, ',', same), row.ended);
    EXPECT_EQ(tokenize(row.text, ",", same), row.between);
    EXPECT_EQ(split_delim(wide(row.text), L",", wide_same), wide(row.runs));
    EXPECT_EQ(tokenize(wide(row.text), L',', wide_same), wide(row.ended));
    EXPECT_EQ(tokenize(wide(row.text), L",", wide_same), wide(row.between));

    std::istringstream stream(row.text);
    Pieces extracted;
    for (std::string piece; std::getline(stream, piece, ',');) extracted.push_back(piece);
    EXPECT_EQ(row.ended, extracted);
  }
}

TEST(Tokenize, TakesSetsAndLongDelimiters) {
  EXPECT_EQ(split_delim(",;a;;b,", ",;,", same), (Pieces{"a", "b"}));
  EXPECT_EQ(split_delim("abc", "", same), Pieces{"abc"});
  EXPECT_EQ(split_delim("", "", same), Pieces{});
  EXPECT_EQ(split_delim("x\xC0y", "\xC0", same), (Pieces{"x", "y"}));
  EXPECT_EQ(split_delim(L"a\x1F600z\x7F", L"\x1F600\x7F", wide_same), (WidePieces{L"a", L"z"}));
  EXPECT_EQ(tokenize("a:::b", "::", same), (Pieces{"a", ":b"}));
  EXPECT_EQ(tokenize("a::", "::", same), (Pieces{"a", ""}));
  EXPECT_EQ(tokenize("ab", "", same), Pieces{"ab"});
  EXPECT_EQ(tokenize("", std::string(), same), Pieces{""});
  const std::string as(40, 'a');
  EXPECT_EQ(tokenize("a" + as + "ba" + as + "b", as + "b", same), (Pieces{"a", "a", ""}));
  const std::string million(1'000'000, 'a');  // starting over at every position would take minutes
  EXPECT_EQ(tokenize(million, million.substr(0, 500'000) + "b", same), Pieces{million});
}

template <class String>
void check_transforms(const String& text, const String& delimiter) {
  using Transform = std::function<String(String&)>;
  using Way = std::function<std::vector<String>(const String&, Transform)>;
  const Transform twice = [](String& piece) { return piece += piece; };
  const Transform failing = [](String&) -> String { throw 1; };
  const Way runs = [&](const String& t, Transform f) { return split_delim(t, delimiter, f); };
  const Way ended = [&](const String& t, Transform f) { return tokenize(t, delimiter[0], f); };
  const Way between = [&](const String& t, Transform f) { return tokenize(t, delimiter, f); };
  for (const Way& cut : {runs, ended, between}) {
    EXPECT_EQ(cut(text, twice), std::vector<String>{text + text});
    EXPECT_THROW(cut(text, failing), int);
    EXPECT_THROW(cut(text, nullptr), std::bad_function_call);
  }
  EXPECT_EQ(runs({}, nullptr), std::vector<String>{});
  EXPECT_EQ(ended({}, nullptr), std::vector<String>{});
  EXPECT_THROW(between({}, nullptr), std::bad_function_call);  // here the empty text is a piece
}

TEST(Tokenize, StoresWhatTheTransformReturns) {
  check_transforms<std::string>("a", ",");
  check_transforms<std::wstring>(L"a", L",");
}

}  // namespace
