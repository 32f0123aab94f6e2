#include "common/path/path_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Row {
  std::string (*function)(std::string);
  std::string path, expected;
};

TEST(PathText, EachFunctionShapesThePath) {
  const Row rows[] = {
      {ensure_ends_with_divider, "", "/"},
      {ensure_ends_with_divider, "a/", "a/"},
      {ensure_ends_with_divider, "a", "a/"},
      {ensure_ends_with_divider, "a\\", "a\\/"},  // no divider to this one
      {remove_head_slashes, "", ""},
      {remove_head_slashes, "//a/b", "a/b"},
      {remove_head_slashes, "\\/a", "a"},
      {remove_head_slashes, "///", "///"},
      {remove_head_slashes, "a/", "a/"},
      {remove_tail_slashes, "", ""},
      {remove_tail_slashes, "a/b//", "a/b"},
      {remove_tail_slashes, "/a/\\", "/a"},
      {remove_tail_slashes, "a\\", "a"},
      {remove_tail_slashes, "//", "//"},
      {remove_duplicated_slashes, "", ""},
      {remove_duplicated_slashes, "a//b///c", "a/b/c"},
      {remove_duplicated_slashes, "//", "/"},
      {remove_duplicated_slashes, "//a/b//", "/a/b/"},
      {remove_duplicated_slashes, "a\\\\b", "a\\\\b"},
      {remove_duplicated_slashes, "/\\/", "/\\/"},
      {get_file_name, "", ""},
      {get_file_name, "a/b/f", "f"},
      {get_file_name, "f", "f"},
      {get_file_name, "a/b/", ""},
      {get_file_name, "a\\b", "a\\b"},
      {get_file_name, std::string("a/\0\xC3", 4), std::string("\0\xC3", 2)},  // bytes, not letters
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    EXPECT_EQ(row.function(row.path), row.expected) << row.path;
  }
}

TEST(PathText, TheContainerIsTheFirstComponent) {
  const std::string rows[][3] = {
      {"/box/dir/file", "box", "dir/file"},
      {"\\/box//f", "box", "/f"},
      {"box", "box", ""},
      {"box/", "box", ""},
      {"a\\b/c", "a\\b", "c"},
      {"///", "", "//"},
      {"\\\\", "\\\\", ""},
      {"", "old container", "old name"},
  };
  for (const auto& [path, expected_container, expected_name] : rows) {
    std::string container = "old container";
    std::string name = "old name";
    split_container_name(path, container, name);
    EXPECT_EQ(container, expected_container) << path;
    EXPECT_EQ(name, expected_name) << path;
  }
}

}  // namespace
