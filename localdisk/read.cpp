#include <algorithm>
#include <cstdio>

#include "localdisk/catch_all.h"
#include "localdisk/local_disk.h"
#include "localdisk/os_handles.h"
#include "localdisk/transfer_state.h"

namespace {

struct Range {
  long long offset;
  long long length;
};

FS_STATUS deliver(std::FILE* stream, Range range, unsigned char* buffer, const localdisk::TransferWatch& watch,
                  IFetchCallback& callback) {
  if (watch.stopped()) return FS_ERR_READ_CANCELLED;
  long long done = 0;
  for (;;) {
    const long long wanted = std::min<long long>(range.length - done, FS_CHUNK_SIZE);
    const std::size_t got = std::fread(buffer, 1, static_cast<std::size_t>(wanted), stream);
    // A file that ends before the range does is an error too: the status alone tells the host that bytes are
    // missing.
    if (got == 0) return FS_ERR_READ;
    long long unused = 0;
    callback.OnData(range.offset + done, buffer, got, &unused);
    done += static_cast<long long>(got);
    watch.report(done);
    if (done == range.length) return FS_OK;
    if (watch.stopped()) return FS_ERR_READ_CANCELLED;
  }
}

}  // namespace

int LocalDisk::Read(const char* path, long long offset, long long length, std::shared_ptr<_FS_HANDLE> handle,
                    IFetchCallback* callback, char** /*message*/) {
  if (path == nullptr || length < 0) return FS_ERR_INVALID_ARG;
  if (length > 0 && (handle == nullptr || callback == nullptr)) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_FAILED, [&] {
    const localdisk::Stream stream = localdisk::open_unbuffered(GetPath(path), "re");
    if (!stream) return FS_ERR_NOT_FOUND;
    if (::fseeko(stream.get(), offset, SEEK_SET) != 0) return FS_ERR_OPERATION_FAILED;
    const localdisk::ChunkBuffer buffer = localdisk::allocate_chunk();
    if (!buffer) return FS_ERR_OPERATION_FAILED;
    if (length == 0) return FS_OK;
    return deliver(stream.get(), {offset, length}, buffer.get(), {*handle, length}, *callback);
  });
}
