// Owners of what the C library hands out. Each closes without touching errno, so that the reason of a failure
// survives the way out of the operation.
#pragma once

#include <dirent.h>

#include <cerrno>
#include <memory>

namespace localdisk {

struct KeepErrno {
  int saved = errno;
  KeepErrno() = default;
  ~KeepErrno() { errno = saved; }
  KeepErrno(const KeepErrno&) = delete;
  KeepErrno& operator=(const KeepErrno&) = delete;
};

struct DirectoryCloser {
  void operator()(DIR* directory) const noexcept {
    const KeepErrno keep;
    ::closedir(directory);
  }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

}  // namespace localdisk
