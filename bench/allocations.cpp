// Counts what is asked of the allocator, by standing before it: the functions below come first in the process's
// search order, so the module's own requests arrive here too.
#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "bench/rows.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void __libc_free(void* memory);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

bool counting = false;
long long held = 0;
bench::Allocations used;

void* counted(void* memory) {
  if (counting && memory != nullptr) {
    ++used.count;
    held += static_cast<long long>(::malloc_usable_size(memory));
    used.peak_bytes = std::max(used.peak_bytes, held);
  }
  return memory;
}

void released(void* memory) {
  if (counting && memory != nullptr) held -= static_cast<long long>(::malloc_usable_size(memory));
}

}  // namespace

#pragma GCC visibility push(default)  // the module is to find these
extern "C" {
void* malloc(std::size_t size) { return counted(__libc_malloc(size)); }
void* calloc(std::size_t count, std::size_t size) { return counted(__libc_calloc(count, size)); }
void* realloc(void* memory, std::size_t size) {
  released(memory);
  return counted(__libc_realloc(memory, size));
}
void free(void* memory) {
  released(memory);
  __libc_free(memory);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) { return counted(__libc_memalign(alignment, size)); }
int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
  *memory = counted(__libc_memalign(alignment, size));
  return *memory == nullptr ? ENOMEM : 0;
}
}
#pragma GCC visibility pop

bench::Allocations bench::allocations_of(const std::function<void()>& work) {
  used = {};
  held = 0;
  counting = true;
  work();
  counting = false;
  return used;
}

std::vector<bench::Side>& bench::all_sides() {
  static std::vector<Side> sides;
  return sides;
}
