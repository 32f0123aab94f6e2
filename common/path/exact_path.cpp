#include "common/path/exact_path.h"

#include <algorithm>
#include <string_view>

namespace {

bool is_separator(char c) { return c == '/' || c == '\\'; }

// Where the last component of the exact path [begin, end) is cut off, together with the separator before it.
char* before_last_component(char* begin, char* end) {
  while (end != begin && *--end != '/') {
  }
  return end;
}

}  // namespace

// Components are moved down within one copy of the path. They never overtake what is still to be read, since each one
// but the first had a separator before it in the path as it has in the result; and each byte is written once and
// taken back at most once, so that the time is linear whatever the dots do.
std::string ToExactPath(const char* path) {
  if (path == nullptr) return {};
  std::string text = path;
  char* const begin = text.data();
  char* const end = begin + text.size();
  char* kept = begin;
  for (char* at = begin; at < end; ++at) {  // steps over the separator that ended the component
    char* const component = at;
    at = std::find_if(at, end, is_separator);
    const std::string_view name(component, static_cast<std::size_t>(at - component));
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      kept = before_last_component(begin, kept);
      continue;
    }
    if (kept != begin) *kept++ = '/';
    kept = std::copy(component, at, kept);
  }
  text.resize(static_cast<std::size_t>(kept - begin));
  return text;
}
