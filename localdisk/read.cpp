#include <algorithm>

#include "localdisk/catch_all.h"
#include "localdisk/chunk_buffer.h"
#include "localdisk/file.h"
#include "localdisk/local_disk.h"
#include "localdisk/transfer_watch.h"

namespace {

struct Range {
  long long offset;
  long long length;
};

FS_STATUS read_chunks(const localdisk::File& file, Range range, unsigned char* chunk,
                      const localdisk::TransferWatch& watch, IFetchCallback& callback) {
  if (watch.stopped()) return FS_ERR_READ_CANCELLED;
  long long done = 0;
  for (;;) {
    const long long wanted = std::min<long long>(range.length - done, FS_CHUNK_SIZE);
    const std::size_t got = file.read(chunk, static_cast<std::size_t>(wanted));
    // A file that ends before the range does is an error too: the status alone tells the host that bytes are missing.
    if (got == 0) return FS_ERR_READ;
    long long unused = 0;
    callback.OnData(range.offset + done, chunk, got, &unused);
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
    const localdisk::File file = localdisk::File::open_to_read(GetPath(path));
    if (!file.is_open()) return FS_ERR_NOT_FOUND;
    if (!file.seek(offset)) return FS_ERR_OPERATION_FAILED;
    const localdisk::ChunkBuffer chunk(offset);
    if (!chunk) return FS_ERR_OPERATION_FAILED;
    if (length == 0) return FS_OK;
    return read_chunks(file, {offset, length}, chunk.get(), {*handle, length}, *callback);
  });
}
