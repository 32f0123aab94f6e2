// The memory through which the content of a transfer goes.
#pragma once

#include <cstdlib>
#include <memory>

namespace localdisk {

struct MemoryReleaser {
  void operator()(unsigned char* memory) const noexcept { std::free(memory); }
};
using ChunkBuffer = std::unique_ptr<unsigned char, MemoryReleaser>;

// Room for one chunk (FS_CHUNK_SIZE), placed for content that starts at `offset` of its file; null when memory
// is short.
ChunkBuffer allocate_chunk(long long offset) noexcept;

}  // namespace localdisk
