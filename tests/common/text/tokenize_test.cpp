#include "common/text/tokenize.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Pieces = std::vector<std::string>;
using WidePieces = std::vector<std::wstring>;

std::string same(const std::string& piece) {
  return piece;
}
std::wstring wide(const std::string& text) {
  return {text.begin(), text.end()};
}
std::wstring wide_same(const std::wstring& piece) {
  return piece;
}
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
           {std::string("a\0,\xFF", 4),
            {std::string("a\0", 2), "\xFF"},
            {std::string("a\0", 2), "\xFF"},
            {std::string("a\0", 2), "\xFF"}},
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
  EXPECT_EQ(split_delim("a\xC0"
                        "b",
                        "\xC0", same),
            (Pieces{"a", "b"}));
  EXPECT_EQ(split_delim(L"a\x1F600z\x7F", L"\x1F600\x7F", wide_same), (WidePieces{L"a", L"z"}));
  EXPECT_EQ(tokenize("a::b", "::", same), (Pieces{"a", "b"}));
  EXPECT_EQ(tokenize("a:::b", "::", same), (Pieces{"a", ":b"}));
  EXPECT_EQ(tokenize("a::", "::", same), (Pieces{"a", ""}));
  EXPECT_EQ(tokenize("ab", "", same), Pieces{"ab"});
  EXPECT_EQ(tokenize("", std::string(), same), Pieces{""});
  const std::string as(40, 'a');
  EXPECT_EQ(tokenize("a" + as + "ba" + as + "b", as + "b", same), (Pieces{"a", "a", ""}));
  const std::string million(1'000'000, 'a');  // starting over at every position would take minutes
  EXPECT_EQ(tokenize(million, million.substr(0, 500'000) + "b", same), Pieces{million});
}

// `cut` cuts a text into pieces; an empty text has to have none, or `always` a piece.
template <class String, class Cut>
void check_transform(const String& text, bool always, Cut cut) {
  const auto doubled = [](String& piece) { return piece += piece; };
  EXPECT_EQ(cut(text, doubled), std::vector<String>{text + text});
  EXPECT_THROW(cut(text, nullptr), std::bad_function_call);
  EXPECT_THROW(cut(text, [](String&) -> String { throw 1; }), int);
  if (always) {
    EXPECT_THROW(cut(String(), nullptr), std::bad_function_call);
  } else {
    EXPECT_EQ(cut(String(), nullptr), std::vector<String>{});
  }
}

TEST(Tokenize, StoresWhatTheTransformReturns) {
  using String = std::string;
  check_transform(String("a"), false,
                  [](const String& t, std::function<String(String&)> f) { return split_delim(t, ",", f); });
  check_transform(String("a"), false,
                  [](const String& t, std::function<String(String&)> f) { return tokenize(t, ',', f); });
  check_transform(String("a"), true,
                  [](const String& t, std::function<String(String&)> f) { return tokenize(t, ",", f); });
  using Wide = std::wstring;
  check_transform(Wide(L"a"), false,
                  [](const Wide& t, std::function<Wide(Wide&)> f) { return split_delim(t, L",", f); });
  check_transform(Wide(L"a"), false,
                  [](const Wide& t, std::function<Wide(Wide&)> f) { return tokenize(t, L',', f); });
  check_transform(Wide(L"a"), true,
                  [](const Wide& t, std::function<Wide(Wide&)> f) { return tokenize(t, L",", f); });
}

}  // namespace
