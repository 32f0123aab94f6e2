// A line is a path: normalized, it is what a stack of components gives, and stays so.
#include <cstdlib>
#include <memory>
#include <vector>

#include "common/path/exact_path.h"
#include "common/path/path_text.h"
#include "fuzz/target.h"
#include "localdisk/normalize_path.h"
#include "localdisk/paths.h"
#include "testing/oracles.h"

namespace {

std::string plain(std::string_view path) {
  const std::vector<char> exact(path.begin(), path.end());  // no terminator: a step too far is seen
  const std::unique_ptr<char, void (*)(void*)> text(normalize_path(exact.data(), exact.size()), std::free);
  return text.get();
}

}  // namespace

FUZZ_TARGET(paths) {
  const std::string path = std::string(input.rest().c_str());
  const bool absolute = path.starts_with('/');
  HOLDS(plain(path) == (absolute ? "/" : "") + oracles::joined_components(path, "/"));
  HOLDS(plain(plain(path)) == plain(path) && localdisk::normalized(path) == plain(path));
  const std::string exact = ToExactPath(path.c_str());
  HOLDS(exact == oracles::joined_components(path, "/\\") && ToExactPath(exact.c_str()) == exact);

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
