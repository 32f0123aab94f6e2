// The memory through which the content of a transfer goes.
#pragma once

#include <cstdlib>
#include <memory>

namespace localdisk {

// Room for one chunk (FS_CHUNK_SIZE), placed for content that starts at `offset` of its file. False when memory is
// short.
class ChunkBuffer {
 public:
  explicit ChunkBuffer(long long offset) noexcept;

  explicit operator bool() const { return start_ != nullptr; }
  [[nodiscard]] unsigned char* get() const { return start_; }

 private:
  struct Free {
    void operator()(unsigned char* memory) const noexcept { std::free(memory); }
  };

  std::unique_ptr<unsigned char, Free> block_;
  unsigned char* start_ = nullptr;
};

}  // namespace localdisk
