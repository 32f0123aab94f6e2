#include "host/client/paths.h"

#include <filesystem>

#include "host/client/errors.h"

namespace host {

std::string absolute_path(const std::string& typed) {
  if (typed.empty()) throw CommandError("an empty path names nothing");
  std::string path = std::filesystem::absolute(typed).lexically_normal().string();
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

std::string parent_of(const std::string& path) {
  const std::size_t last = path.rfind('/');
  return last == 0 ? "/" : path.substr(0, last);
}

std::string name_of(const std::string& path) { return path.substr(path.rfind('/') + 1); }

std::string below(const std::string& directory, const std::string& name) {
  return directory.back() == '/' ? directory + name : directory + "/" + name;
}

}  // namespace host
