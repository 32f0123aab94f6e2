// Preloaded into the tool: each write to a file takes a third of what it is asked to, as a disk may that is nearly
// full.
#include <dlfcn.h>
#include <unistd.h>

#include <cstddef>

extern "C" __attribute__((visibility("default"))) ssize_t write(int file, const void* data, std::size_t size) {
  using Write = ssize_t (*)(int, const void*, std::size_t);
  static const auto system_write = reinterpret_cast<Write>(::dlsym(RTLD_NEXT, "write"));
  return system_write(file, data, file > STDERR_FILENO && size > 1000 ? size / 3 : size);
}
