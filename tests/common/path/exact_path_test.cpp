#include "common/path/exact_path.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

namespace {

TEST(ExactPath, IsTheOneSpelling) {
  const std::string rows[][2] = {
      {"/a/b/../c", "a/c"},
      {"C:\\dir\\.\\file.txt", "C:/dir/file.txt"},
      {"\\\\server\\share\\x", "server/share/x"},
      {"a//b/", "a/b"},
      {"../x", "x"},
      {"a/b/../../..", ""},
      {"ab/cd/..", "ab"},
      {"/", ""},
      {"", ""},
      {"A/B", "A/B"},
      {".../.x/..y/z.", ".../.x/..y/z."},  // only "." and ".." themselves are special
      {"\xC3\xA9/\x80\\\xFF", "\xC3\xA9/\x80/\xFF"},
  };
  for (const auto& [path, expected] : rows) EXPECT_EQ(ToExactPath(path.c_str()), expected) << path;
  EXPECT_EQ(ToExactPath(nullptr), "");
}

std::string by_expression(std::string path) {
  static const std::regex divider("\\/");
  std::replace(path.begin(), path.end(), '\\', '/');
  std::vector<std::string> kept;
  for (std::sregex_token_iterator piece(path.begin(), path.end(), divider, -1), end; piece != end; ++piece) {
    if (*piece == "..") {
      if (!kept.empty()) kept.pop_back();
    } else if (*piece != "" && *piece != ".") {
      kept.push_back(*piece);
    }
  }
  std::string result;
  for (const std::string& name : kept) result += (result.empty() ? "" : "/") + name;
  return result;
}

TEST(ExactPath, IsWhatSplittingByTheExpressionGives) {
  const std::string alphabet = "/\\.ab";
  std::vector<std::string> paths = {""};
  for (std::size_t next = 0; next < paths.size(); ++next) {
    const std::string path = paths[next];
    ASSERT_EQ(ToExactPath(path.c_str()), by_expression(path)) << path;
    if (path.size() == 6) continue;
    for (const char c : alphabet) paths.push_back(path + c);
  }
}

}  // namespace
