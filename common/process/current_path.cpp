#include "common/process/current_path.h"

#include "common/process/executable_path.h"

std::string GetCurrentPath() { return directory_of(executable_path()); }

std::string directory_of(std::string path) {
  const auto divider = path.rfind('/');
  path.erase(divider == std::string::npos ? 0 : divider);
  return path;
}
