#include "localdisk/chunk_buffer.h"

#include <cstddef>
#include <cstdint>

#include "localdisk/transfer.h"

namespace {

constexpr std::uintptr_t cache_line = 64;

// Some processors copy several times slower to a target that lies 1 to 31 bytes above its source, modulo a page. The
// source is the page cache, where a byte stands as far from the start of a page as in the file.
bool is_slow_place(std::uintptr_t address, long long offset) noexcept {
  constexpr std::uintptr_t page = 4096;
  constexpr std::uintptr_t far_enough = 32;
  const std::uintptr_t above = (address - static_cast<std::uintptr_t>(offset)) % page;
  return above > 0 && above < far_enough;
}

// How far into the block the chunk starts: at a cache line, and at the next one where that place is slow.
std::size_t room_before(const unsigned char* block, long long offset) noexcept {
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  const std::size_t before = -address % cache_line;
  return is_slow_place(address + before, offset) ? before + cache_line : before;
}

}  // namespace

// The place is chosen within a block that the allocator puts where it likes, rather than asked of the allocator: what
// that cuts off before an aligned block has to be put together again, which costs a small transfer a twentieth, and a
// block that starts at a page never fits where the last one was, so that each transfer would have 516 KiB mapped,
// filled with zeroes and unmapped again.
localdisk::ChunkBuffer::ChunkBuffer(long long offset) noexcept
    : block_(static_cast<unsigned char*>(std::malloc(FS_CHUNK_SIZE + 2 * cache_line))) {
  if (block_) start_ = block_.get() + room_before(block_.get(), offset);
}
