#include "localdisk/chunk_buffer.h"

#include <cstddef>
#include <cstdint>

#include "localdisk/transfer.h"

namespace {

constexpr std::size_t cache_line = 64;
constexpr std::size_t page = 4096;

localdisk::ChunkBuffer allocate(std::size_t alignment) noexcept {
  void* memory = nullptr;
  if (::posix_memalign(&memory, alignment, FS_CHUNK_SIZE) != 0) return nullptr;
  return localdisk::ChunkBuffer(static_cast<unsigned char*>(memory));
}

// Some processors copy several times slower to a target that lies 1 to 31 bytes above its source, modulo a page. The
// source is the page cache, where a byte stands as far from the start of a page as in the file.
bool is_slow_place(const unsigned char* memory, long long offset) noexcept {
  constexpr std::uintptr_t far_enough = 32;
  const std::uintptr_t above =
      (reinterpret_cast<std::uintptr_t>(memory) - static_cast<std::uintptr_t>(offset)) % page;
  return above > 0 && above < far_enough;
}

}  // namespace

// A block that starts at a page would do nearly everywhere, but it never fits where the C library put the last one:
// each transfer would have 516 KiB mapped, filled with zeroes and unmapped again, which takes several times as long
// as a small transfer itself. So only what has no good place otherwise starts at a page.
localdisk::ChunkBuffer localdisk::allocate_chunk(long long offset) noexcept {
  ChunkBuffer chunk = allocate(cache_line);
  if (!chunk || !is_slow_place(chunk.get(), offset)) return chunk;
  chunk.reset();  // a transfer holds one
  return allocate(page);
}
