// What another project does with the client that it has taken over: loads the module, lists and reads.
#include <cstdio>

#include "host/client/drive.h"
#include "host/client/errors.h"
#include "host/client/module.h"
#include "host/client/times.h"

static_assert(__cplusplus < 202000L, "the client is for hosts of C++17 too");

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  try {
    const host::Module module(argv[1]);
    host::Drive drive(module);
    long long entries = 0, bytes = 0;
    drive.list(argv[2], [&](const _FS_FILE_V2& file) {
      ++entries;
      if (file.type == FS_TYPE_DIRECTORY || host::parse_record_time(file.mtime) < 0) return;
      drive.read(file.path, 0, file.size, host::new_handle(),
                 [&](const unsigned char*, std::size_t size) { bytes += static_cast<long long>(size); });
    });
    std::printf("%lld entries, %lld bytes\n", entries, bytes);
    return entries > 0 && bytes > 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
