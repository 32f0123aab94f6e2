#include <cstdio>
#include <utility>

#include "localdisk/catch_all.h"
#include "localdisk/local_disk.h"
#include "localdisk/os_handles.h"
#include "localdisk/transfer_state.h"
#include "plugin/logger.h"

namespace {

// The file being written. Unless it is kept, it goes when the upload ends, however it ends: a file that was
// closed must hold what the host meant it to.
class Target {
 public:
  explicit Target(std::string path) : path_(std::move(path)), stream_(localdisk::open_unbuffered(path_, "w+e")) {}
  ~Target() {
    if (!stream_ && !closed_) return;  // never opened
    const localdisk::KeepErrno keep;
    stream_.reset();
    if (!kept_) std::remove(path_.c_str());
  }
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;

  [[nodiscard]] std::FILE* stream() const { return stream_.get(); }
  [[nodiscard]] bool close() {
    closed_ = true;
    return localdisk::close_written(std::move(stream_));
  }
  void keep() { kept_ = true; }

 private:
  std::string path_;
  localdisk::Stream stream_;
  bool closed_ = false;
  bool kept_ = false;
};

// Whether the host's answer can be written: it may have put its own memory in the place of the chunk buffer,
// of any length, but can't have put more into the chunk buffer than it holds.
bool is_usable(const _FS_CACHE_REQUEST& request, const unsigned char* chunk) {
  return request.buffer != nullptr && request.delivered > 0 &&
         (request.buffer != chunk || request.delivered <= static_cast<long long>(FS_CHUNK_SIZE));
}

// Asks for the block that belongs at `written` and writes it. Answers how much of it was written, 0 for a
// failure.
std::size_t write_block(std::FILE* stream, unsigned char* chunk, long long written, long long total_size,
                        const std::shared_ptr<_FS_HANDLE>& handle, ICacheIO& cache) {
  _FS_CACHE_REQUEST request;
  request.buffer = chunk;
  request.offset = written;
  request.capacity = FS_CHUNK_SIZE;
  request.handle = handle;
  request.total_size = total_size;
  if (cache.ReadBlock(&request) != 0 || !is_usable(request, chunk)) return 0;
  return std::fwrite(request.buffer, 1, static_cast<std::size_t>(request.delivered), stream);
}

FS_STATUS pull(std::FILE* stream, const std::shared_ptr<_FS_HANDLE>& handle, ICacheIO* cache,
               const _FS_FILE_V2& file) {
  const localdisk::ChunkBuffer chunk = localdisk::allocate_chunk();
  if (!chunk) return FS_ERR_FAILED;
  const long long total = file.size;
  const localdisk::TransferWatch watch(*handle, total);
  for (long long written = 0; written < total;) {
    if (watch.stopped()) return FS_ERR_UPLOAD_CANCELLED;
    // A block that was written in part is no failure yet: the next request starts with the first byte left
    // out.
    const std::size_t count = write_block(stream, chunk.get(), written, file.size, handle, *cache);
    if (count == 0) return FS_ERR_FAILED;
    written += static_cast<long long>(count);
    watch.report(written);
  }
  return FS_OK;
}

}  // namespace

int LocalDisk::Upload(const char* parent, std::shared_ptr<_FS_HANDLE> handle, ICacheIO* cache, _FS_FILE_V2* file,
                      UPLOAD_FLAG /*flag*/, char** message) {
  if (parent == nullptr || file == nullptr) return FS_ERR_INVALID_ARG;
  __LOG__A(bound_logger(), LOGLEVEL_INFO, "[PROTOCOL  ] Upload %s/%s", parent, file->name.c_str());
  if (handle == nullptr || (cache == nullptr && file->size > 0)) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_FAILED, [&]() -> int {
    Target target(GetPath(parent) + "/" + file->name);
    if (target.stream() == nullptr) return FS_ERR_NOT_FOUND;
    if (::fseeko(target.stream(), 0, SEEK_SET) != 0) {
      target.keep();
      return FS_ERR_SEEK;
    }
    const FS_STATUS status = pull(target.stream(), handle, cache, *file);
    if (status == FS_ERR_UPLOAD_CANCELLED) target.keep();
    if (status != FS_OK) return status;
    if (!target.close()) return FS_ERR_FAILED;
    file->path = JoinPath(parent, file->name);
    const int described = GetFileInfo(file->path.c_str(), file, message);
    target.keep();
    return described;
  });
}
