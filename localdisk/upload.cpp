#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "localdisk/catch_all.h"
#include "localdisk/chunk_buffer.h"
#include "localdisk/file.h"
#include "localdisk/local_disk.h"
#include "localdisk/os_handles.h"
#include "localdisk/paths.h"
#include "localdisk/transfer_watch.h"
#include "plugin/log_line.h"

namespace {

// The file being written. Removed on destruction unless kept: a closed file always holds what the host sent.
class Target {
 public:
  explicit Target(std::string path)
      : path_(std::move(path)), file_(localdisk::File::create(path_)), is_kept_(!file_.is_open()) {}
  ~Target() {
    if (is_kept_) return;
    const localdisk::KeepErrno keep;
    if (file_.is_open()) static_cast<void>(file_.close());  // first: some file systems keep what is open
    std::remove(path_.c_str());
  }
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;

  [[nodiscard]] localdisk::File& file() { return file_; }
  void keep() { is_kept_ = true; }

 private:
  std::string path_;
  localdisk::File file_;
  bool is_kept_;
};

// Whether the host's answer can be written. A block that starts in the chunk has to end in it; one that starts
// elsewhere is the host's own memory, of any length.
bool is_usable(const _FS_CACHE_REQUEST& request, const unsigned char* chunk) {
  if (request.buffer == nullptr || request.delivered <= 0) return false;
  const auto start = reinterpret_cast<std::uintptr_t>(request.buffer) - reinterpret_cast<std::uintptr_t>(chunk);
  return start >= FS_CHUNK_SIZE || static_cast<std::uintptr_t>(request.delivered) <= FS_CHUNK_SIZE - start;
}

FS_STATUS write_chunks(const localdisk::File& file, const std::shared_ptr<_FS_HANDLE>& handle, ICacheIO* cache,
                       const _FS_FILE_V2& record) {
  const localdisk::ChunkBuffer chunk(0);
  if (!chunk) return FS_ERR_FAILED;
  const long long total = record.size;
  const localdisk::TransferWatch watch(*handle, total);
  for (long long written = 0; written < total;) {
    if (watch.stopped()) return FS_ERR_UPLOAD_CANCELLED;
    _FS_CACHE_REQUEST request;  // with its share of the handle until the block is reported
    request.buffer = chunk.get();
    request.offset = written;
    request.capacity = FS_CHUNK_SIZE;
    request.handle = handle;
    request.total_size = record.size;
    if (cache->ReadBlock(&request) != 0 || !is_usable(request, chunk.get())) return FS_ERR_FAILED;
    // A block that was written in part is no failure yet: the next request starts with the first byte left out.
    const std::size_t count = file.write(request.buffer, static_cast<std::size_t>(request.delivered));
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
  localdisk::__LOG__A(localdisk::bound_logger(), LOGLEVEL_INFO, "[PROTOCOL  ] Upload %s/%s", parent,
                      file->name.c_str());
  if (handle == nullptr || (cache == nullptr && file->size > 0)) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_FAILED, [&]() -> int {
    std::string path = localdisk::local_entry(parent, file->name);
    if (path.empty()) {  // as "..": without this the name would stand in "/"
      errno = ENOENT;
      return FS_ERR_NOT_FOUND;
    }
    Target target(std::move(path));
    if (!target.file().is_open()) return FS_ERR_NOT_FOUND;
    if (!target.file().seek(0)) {
      target.keep();
      return FS_ERR_SEEK;
    }
    const FS_STATUS status = write_chunks(target.file(), handle, cache, *file);
    if (status == FS_ERR_UPLOAD_CANCELLED) target.keep();
    if (status != FS_OK) return status;
    if (!target.file().close()) return FS_ERR_FAILED;
    file->path = localdisk::join(parent, file->name);
    const int described = GetFileInfo(file->path.c_str(), file, message);
    target.keep();
    return described;
  });
}
