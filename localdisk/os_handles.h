// Owners of what the C library hands out. Each closes without touching errno, so that the reason of a failure
// survives the way out of the operation.
#pragma once

#include <dirent.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

namespace localdisk {

struct KeepErrno {
  int saved = errno;
  KeepErrno() = default;
  ~KeepErrno() { errno = saved; }
  KeepErrno(const KeepErrno&) = delete;
  KeepErrno& operator=(const KeepErrno&) = delete;
};

struct StreamCloser {
  void operator()(std::FILE* stream) const noexcept {
    const KeepErrno keep;
    std::fclose(stream);
  }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

struct DirectoryCloser {
  void operator()(DIR* directory) const noexcept {
    const KeepErrno keep;
    ::closedir(directory);
  }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

// Opens `path` without a buffer: transfers bring their own, so that a chunk is one system call. `mode`
// carries an "e": the descriptor is not for the commands that the process may run.
inline Stream open_unbuffered(const std::string& path, const char* mode) {
  Stream stream(std::fopen(path.c_str(), mode));
  if (stream) std::setvbuf(stream.get(), nullptr, _IONBF, 0);
  return stream;
}

// Ends the stream and says whether all that was written reached the system: a full disk may only show here.
[[nodiscard]] inline bool close_written(Stream stream) {
  const bool flushed = std::fflush(stream.get()) == 0;
  return std::fclose(stream.release()) == 0 && flushed;
}

}  // namespace localdisk
