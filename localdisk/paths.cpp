#include "localdisk/paths.h"

#include <algorithm>
#include <cstring>

namespace localdisk {

std::size_t normalize(std::string_view path, char* out) {
  if (path.empty()) return 0;
  std::size_t kept = 0;
  for (std::size_t at = 0; at < path.size(); ++at) {
    const std::size_t before = kept;
    out[kept++] = '/';
    // Most components are so short that a call which looks for their end takes longer than this.
    while (at < path.size() && path[at] != '/') out[kept++] = path[at++];
    const std::string_view component(out + before + 1, kept - before - 1);
    if (component.empty() || component == ".") {
      kept = before;
    } else if (component == "..") {
      kept = before;
      while (kept > 0 && out[--kept] != '/') {
      }
    }
  }
  if (kept == 0) out[kept++] = '/';
  if (path.front() == '/') return kept;
  std::memmove(out, out + 1, --kept);
  return kept;
}

std::string normalized(std::string_view path, std::size_t more) {
  std::string out;
  out.reserve(normalize_room(path.size()) + more);
  out.resize(normalize_room(path.size()));
  out.resize(normalize(path, out.data()));
  return out;
}

std::string local_path(std::string_view path, std::size_t more) {
  std::string local = normalized(path, more);
  if (local.ends_with('/')) local += '.';
  return local;
}

std::string local_entry(std::string_view directory, std::string_view name) {
  std::string local = local_path(directory, 1 + name.size());
  if (!local.empty()) local.append(1, '/').append(name);
  return local;
}

std::string_view last_component(std::string_view path) {
  const std::size_t last = path.find_last_not_of('/');
  if (last == std::string_view::npos) return path.substr(0, 1);
  const std::string_view named = path.substr(0, last + 1);
  return named.substr(named.rfind('/') + 1);  // from the start where there is no separator
}

void cut_to_parent(std::string& path) {
  const std::size_t separator = path.rfind('/');
  path.resize(separator == std::string::npos ? 0 : std::max<std::size_t>(separator, 1));
}

std::string concatenate(std::string_view directory, std::string_view name) {
  std::string path;
  path.reserve(directory.size() + 1 + name.size());
  path.append(directory).append(1, '/').append(name);
  return path;
}

std::string join(std::string_view directory, std::string_view name) {
  std::string path;
  path.reserve(directory.size() + 1 + name.size());
  path = directory;
  append_name(path, name);
  return path;
}

void append_name(std::string& directory, std::string_view name) {
  if (!directory.ends_with('/')) directory += '/';
  directory += name;
}

}  // namespace localdisk
