#include "common/text/split.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

using Pieces = std::vector<std::string>;

TEST(Split, KeepsEmptyPiecesExceptTheLast) {
  using Row = std::tuple<std::string, const char*, Pieces>;
  for (const auto& [text, expression, pieces] : std::vector<Row>{
           {"a=b", "=", {"a", "b"}},
           {"a=", "=", {"a"}},
           {"=b", "=", {"", "b"}},
           {"=", "=", {""}},
           {"==", "=", {"", ""}},
           {"a==b", "=", {"a", "", "b"}},
           {"a=b=c", "=", {"a", "b", "c"}},
           {"abc", "=", {"abc"}},
           {"", "=", {""}},
           {"", "x*", {""}},                   // an empty match of the empty text
           {"axb", "x*", {"", "a", "", "b"}},  // matches: empty at 0, "x", empty in front of b and at the end
           {"a1, 2b", "[0-9]|, ", {"a", "", "", "b"}},
           {"aaa", "^a", {"", "aa"}},  // only the first is at the start of the text
           {std::string("a\0=b", 4), "=", {std::string("a\0", 2), "b"}},
       }) {
    SCOPED_TRACE(text + " at " + expression);
    EXPECT_EQ(split(text, std::regex(expression)), pieces);
    const std::wstring wide_expression(expression, expression + std::char_traits<char>::length(expression));
    std::vector<std::wstring> wide_pieces;
    for (const std::string& piece : pieces) wide_pieces.emplace_back(piece.begin(), piece.end());
    EXPECT_EQ(split(std::wstring(text.begin(), text.end()), std::wregex(wide_expression)), wide_pieces);
  }
}

}  // namespace
