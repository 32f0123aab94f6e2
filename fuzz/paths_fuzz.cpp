// A line is a path: its plain form is the one that a stack of components gives, and has no plainer one.
#include <cstdlib>
#include <memory>
#include <vector>

#include "common/path/exact_path.h"
#include "common/path/path_text.h"
#include "fuzz/target.h"
#include "localdisk/normalize_path.h"
#include "localdisk/paths.h"

namespace {

std::string plain(std::string_view path) {
  const std::vector<char> exact(path.begin(), path.end());  // no terminator: a step too far is seen
  const std::unique_ptr<char, void (*)(void*)> text(normalize_path(exact.data(), exact.size()), std::free);
  return text.get();
}

std::string by_components(std::string_view path, std::string_view dividers) {
  std::vector<std::string_view> kept;
  for (std::size_t start = 0; start <= path.size();) {
    const std::size_t end = std::min(path.find_first_of(dividers, start), path.size());
    const std::string_view part = path.substr(start, end - start);
    start = end + 1;
    if (part == ".." && !kept.empty()) kept.pop_back();
    if (!part.empty() && part != "." && part != "..") kept.push_back(part);
  }
  std::string text;
  for (const std::string_view part : kept) (text += text.empty() ? "" : "/") += part;
  return text;
}

}  // namespace

FUZZ_TARGET(paths) {
  const std::string path = std::string(input.rest().c_str());
  const bool absolute = path.starts_with('/');
  HOLDS(plain(path) == (absolute ? "/" : "") + by_components(path, "/"));
  HOLDS(plain(plain(path)) == plain(path) && localdisk::normalized(path) == plain(path));
  const std::string exact = ToExactPath(path.c_str());
  HOLDS(exact == by_components(path, "/\\") && ToExactPath(exact.c_str()) == exact);

  const std::string single = remove_duplicated_slashes(path);
  HOLDS(single.find("//") == std::string::npos && remove_duplicated_slashes(single) == single);
  HOLDS(ensure_ends_with_divider(ensure_ends_with_divider(path)) == ensure_ends_with_divider(path));
  HOLDS(remove_head_slashes(remove_head_slashes(path)) == remove_head_slashes(path));
  HOLDS(remove_tail_slashes(remove_tail_slashes(path)) == remove_tail_slashes(path));
  HOLDS(path.ends_with(get_file_name(path)) && get_file_name(path).find('/') == std::string::npos);
  std::string container, name;
  split_container_name(path, container, name);
  const std::string headless = remove_head_slashes(path);
  HOLDS(headless == container || headless == container + "/" + name || headless.starts_with('/'));
}
