#include "common/path/exact_path.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/oracles.h"

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

TEST(ExactPath, IsTheListOfComponents) {
  const std::string alphabet = "/\\.ab";
  std::vector<std::string> paths = {""};
  for (std::size_t next = 0; next < paths.size(); ++next) {
    const std::string path = paths[next];
    ASSERT_EQ(ToExactPath(path.c_str()), oracles::joined_components(path, "/\\")) << path;
    if (path.size() == 6) continue;
    for (const char c : alphabet) paths.push_back(path + c);
  }
}

}  // namespace
