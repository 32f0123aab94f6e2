// What Read and Upload share: the chunk buffer and the host's handle.
#pragma once

#include <cstdlib>
#include <memory>

#include "localdisk/shared_value.h"
#include "localdisk/transfer.h"

namespace localdisk {

struct MemoryReleaser {
  void operator()(unsigned char* memory) const noexcept { std::free(memory); }
};
using ChunkBuffer = std::unique_ptr<unsigned char, MemoryReleaser>;

// Room for one chunk, or null. It starts at a page: the kernel copies whole pages of a file fastest to where
// a page starts.
inline ChunkBuffer allocate_chunk() noexcept {
  constexpr std::size_t page = 4096;
  void* memory = nullptr;
  if (::posix_memalign(&memory, page, FS_CHUNK_SIZE) != 0) return nullptr;
  return ChunkBuffer(static_cast<unsigned char*>(memory));
}

// The host's view on one running transfer.
class TransferWatch {
 public:
  TransferWatch(const _FS_HANDLE& handle, long long total)
      : handle_(handle), total_(total), context_(handle.progress_ctx) {}

  [[nodiscard]] bool stopped() const { return load_shared(handle_.state) >= FS_STATE_STOP; }

  void report(long long done) const {
    if (const auto progress = load_shared(handle_.progress)) progress(total_, done, context_, 0);
  }

 private:
  const _FS_HANDLE& handle_;
  long long total_;
  void* context_;  // read once, so that a transfer reports to one place
};

}  // namespace localdisk
