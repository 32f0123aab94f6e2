#include "common/path/path_text.h"

#include <utility>

namespace {

constexpr const char* separators = "/\\";

}  // namespace

std::string ensure_ends_with_divider(std::string path) {
  if (!path.ends_with('/')) path += '/';
  return path;
}

std::string remove_head_slashes(std::string path) {
  const auto first = path.find_first_not_of(separators);
  if (first != std::string::npos) path.erase(0, first);
  return path;
}

std::string remove_tail_slashes(std::string path) {
  const auto last = path.find_last_not_of(separators);
  if (last != std::string::npos) path.erase(last + 1);
  return path;
}

std::string remove_duplicated_slashes(std::string path) {
  auto kept = path.begin();
  char before = '\0';
  for (const char c : path) {
    if (c != '/' || before != '/') *kept++ = c;
    before = c;
  }
  path.erase(kept, path.end());
  return path;
}

void split_container_name(std::string path, std::string& container, std::string& name) {
  if (path.empty()) return;
  path = remove_head_slashes(std::move(path));
  const auto separator = path.find('/');
  std::string rest;
  if (separator != std::string::npos) {
    rest = path.substr(separator + 1);
    path.erase(separator);
  }
  container = std::move(path);
  name = std::move(rest);
}

std::string get_file_name(std::string path) {
  path.erase(0, path.rfind('/') + 1);  // without a separator npos + 1 is 0, and nothing goes
  return path;
}
