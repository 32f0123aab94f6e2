#include "host/client/executable.h"

#include <cstdint>
#include <system_error>

#if defined(__APPLE__)
#include <mach-o/dyld.h>
#endif

namespace host {

namespace fs = std::filesystem;

fs::path executable() {
#if defined(__APPLE__)
  char path[4096] = {};
  std::uint32_t size = sizeof path;
  return ::_NSGetExecutablePath(path, &size) == 0 ? fs::path(path) : fs::path();
#else
  std::error_code unknown;
  return fs::read_symlink("/proc/self/exe", unknown);
#endif
}

}  // namespace host
