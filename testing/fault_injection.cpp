#include "testing/fault_injection.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define CHECKED_BUILD
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__GLIBC__)
#define CHECKED_BUILD
#endif

namespace {

constexpr int none = -1;
thread_local int allocations_left = none;
thread_local bool stays_short = false;
thread_local bool memory_felt = false;
thread_local long blocks = 0;
thread_local bool close_fails = false;
thread_local bool close_felt = false;
thread_local bool room_is_limited = false;
thread_local bool write_felt = false;
thread_local std::size_t room_left = 0;
thread_local int write_error = 0;

#if !defined(CHECKED_BUILD)
bool is_refused() {
  if (allocations_left == none) return false;
  if (allocations_left > 1) return --allocations_left, false;
  if (!stays_short) allocations_left = none;
  memory_felt = true;
  errno = ENOMEM;
  return true;
}

void* counted(void* block) {
  if (block != nullptr) ++blocks;
  return block;
}

int closed(int result) {
  if (!close_fails) return result;
  close_felt = true;
  errno = ENOSPC;
  return -1;
}
#endif

}  // namespace

#if !defined(CHECKED_BUILD)
#pragma GCC visibility push(default)  // the module, which is loaded later, is to find these
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) { return is_refused() ? nullptr : counted(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) {
  return is_refused() ? nullptr : counted(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size) {
  if (is_refused()) return nullptr;
  void* const moved = __libc_realloc(block, size);
  return block == nullptr ? counted(moved) : moved;
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return is_refused() ? nullptr : counted(__libc_memalign(alignment, size));
}
int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  void* const found = is_refused() ? nullptr : counted(__libc_memalign(alignment, size));
  if (found == nullptr) return ENOMEM;
  *block = found;
  return 0;
}
void free(void* block) {
  if (block != nullptr) --blocks;
  __libc_free(block);
}

int fclose(std::FILE* stream) {
  static auto* const real = reinterpret_cast<int (*)(std::FILE*)>(::dlsym(RTLD_NEXT, "fclose"));
  return closed(real(stream));
}
int close(int descriptor) {
  static auto* const real = reinterpret_cast<int (*)(int)>(::dlsym(RTLD_NEXT, "close"));
  return closed(real(descriptor));
}
ssize_t write(int descriptor, const void* bytes, std::size_t count) {
  static auto* const real = reinterpret_cast<ssize_t (*)(int, const void*, std::size_t)>(::dlsym(RTLD_NEXT, "write"));
  if (!room_is_limited) return real(descriptor, bytes, count);
  write_felt |= count > room_left;
  if (count > 0 && room_left == 0) {
    errno = write_error;
    return -1;
  }
  const ssize_t written = real(descriptor, bytes, std::min(count, room_left));
  if (written > 0) room_left -= static_cast<std::size_t>(written);
  return written;
}
}  // extern "C"
#pragma GCC visibility pop
#endif

namespace fault_injection {

bool can_be_made() {
#if defined(CHECKED_BUILD)
  return false;
#else
  return true;
#endif
}

FailAllocation::FailAllocation(int at, bool for_good) {
  memory_felt = false;
  stays_short = for_good;
  allocations_left = at;
}
FailAllocation::~FailAllocation() { allocations_left = none; }
bool FailAllocation::triggered() { return memory_felt; }

Pause::Pause() : left_(allocations_left) { allocations_left = none; }
Pause::~Pause() { allocations_left = left_; }

long live_blocks() { return blocks; }

FailClose::FailClose() {
  close_felt = false;
  close_fails = true;
}
FailClose::~FailClose() { close_fails = false; }
bool FailClose::triggered() { return close_felt; }

FailWrite::FailWrite(std::size_t room, int error) {
  write_felt = false;
  room_left = room;
  write_error = error;
  room_is_limited = true;
}
FailWrite::~FailWrite() { room_is_limited = false; }
bool FailWrite::triggered() { return write_felt; }

}  // namespace fault_injection
