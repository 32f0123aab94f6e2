#include "common/path/path_text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

TEST(PathText, EachFunctionShapesThePath) {
  struct Shape {
    std::string (*function)(std::string);
    std::vector<std::pair<std::string, std::string>> rows;
  };
  const std::string nul(1, '\0');
  const Shape shapes[] = {
      {ensure_ends_with_divider, {{"", "/"}, {"a/", "a/"}, {"a", "a/"}, {"a\\", "a\\/"}}},
      {remove_head_slashes, {{"", ""}, {"//a/b", "a/b"}, {"\\/a/", "a/"}, {"///", "///"}}},
      {remove_tail_slashes, {{"", ""}, {"a/b//", "a/b"}, {"/a/\\", "/a"}, {"a\\", "a"}, {"//", "//"}}},
      {remove_duplicated_slashes, {{"", ""}, {"a//b///c", "a/b/c"}, {"//", "/"}, {"//a\\\\b//", "/a\\\\b/"}}},
      {get_file_name, {{"", ""}, {"a/b/f", "f"}, {"f", "f"}, {"a/b/", ""}, {"a\\b", "a\\b"}}},
      {get_file_name, {{"a" + nul + "/" + nul + "\xC3", nul + "\xC3"}}},  // bytes, not letters
  };
  for (const Shape& shape : shapes) {
    SCOPED_TRACE(&shape - shapes);
    for (const auto& [path, expected] : shape.rows) EXPECT_EQ(shape.function(path), expected) << path;
  }
}

TEST(PathText, TheContainerIsTheFirstComponent) {
  const std::string rows[][3] = {{"/box/dir/file", "box", "dir/file"},
                                 {"\\/box//f", "box", "/f"},
                                 {"box", "box", ""},
                                 {"box/", "box", ""},
                                 {"a\\b/c", "a\\b", "c"},
                                 {"///", "", "//"},
                                 {"\\\\", "\\\\", ""},
                                 {"", "old", "old"}};
  for (const auto& [path, expected_container, expected_name] : rows) {
    std::string container = "old";
    std::string name = "old";
    split_container_name(path, container, name);
    EXPECT_EQ(container, expected_container) << path;
    EXPECT_EQ(name, expected_name) << path;
  }
}

}  // namespace
