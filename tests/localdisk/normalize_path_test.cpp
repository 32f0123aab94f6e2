#include "localdisk/normalize_path.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <tuple>
#include <vector>

#include "localdisk/memrchr.h"
#include "localdisk/paths.h"

namespace {

std::string exported(std::string_view path) {
  // Without a terminator, so that a sanitizer sees a step too far.
  const std::vector<char> exact(path.begin(), path.end());
  char* const text = normalize_path(exact.data(), exact.size());
  std::string result(text);
  std::free(text);
  return result;
}

TEST(NormalizePath, KeepsNamesAndNothingElse) {
  for (const auto& [path, plain] : std::to_array<std::tuple<std::string_view, std::string_view>>({
           {"/a/b/../c", "/a/c"},
           {"/../a", "/a"},
           {"//a//b/", "/a/b"},
           {"/", "/"},
           {"/.", "/"},
           {"/..", "/"},
           {"////", "/"},
           {"/a/b/..", "/a"},
           {"/a/b/../..", "/"},
           {"/a/b/../../../c", "/c"},
           {"/a/...", "/a/..."},
           {"/.a/..b/c.", "/.a/..b/c."},
           {"a/./b", "a/b"},
           {"a/b/", "a/b"},
           {"../a", "a"},
           {"a/..", ""},
           {"a/../../b", "b"},
           {".", ""},
           {"..", ""},
           {"./", ""},
           {"", ""},
           {"a", "a"},
           {"a\\..\\b", "a\\..\\b"},
           {"/\xC3\x28/..\xFF", "/\xC3\x28/..\xFF"},
       })) {
    EXPECT_EQ(exported(path), plain) << path;
    EXPECT_EQ(localdisk::normalized(path), plain) << path;
    EXPECT_EQ(exported(plain), plain) << "not stable";
  }
  EXPECT_EQ(exported("/abc/def").substr(0, 4), "/abc");
  char* const part = normalize_path("/abc/def", 4);
  EXPECT_STREQ(part, "/abc");
  std::free(part);
}

TEST(Memrchr, FindsTheLastByte) {
  const char text[] = "abca";
  EXPECT_EQ(localdisk::memrchr(text, 'a', 4), text + 3);
  EXPECT_EQ(localdisk::memrchr(text, 'a', 3), text);
  EXPECT_EQ(localdisk::memrchr(text, 0x161, 4), text + 3);
  EXPECT_EQ(localdisk::memrchr(text, 'z', 4), nullptr);
  EXPECT_EQ(localdisk::memrchr(text, 'a', 0), nullptr);
}

}  // namespace
