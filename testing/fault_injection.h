// Shortages made to order: memory that runs out at a chosen allocation, a disk that takes no more bytes, and files
// that fail to close. They take the C library's functions over for the whole process, the loaded module included, and
// act on one thread only.
#pragma once

#include <cerrno>
#include <cstddef>
#include <new>
#include <string>

namespace fault_injection {

// False where a sanitizer has taken the functions over already.
bool can_be_made();

// While it lives, allocation number `at` of this thread, from 1, finds no memory; with `for_good`, all after it too.
class FailAllocation {
 public:
  FailAllocation(int at, bool for_good);
  ~FailAllocation();
  FailAllocation(const FailAllocation&) = delete;
  FailAllocation& operator=(const FailAllocation&) = delete;
  [[nodiscard]] static bool triggered();
};

// Ordinary supply again, for what a callback does in the middle of a shortage.
class Pause {
 public:
  Pause();
  ~Pause();
  Pause(const Pause&) = delete;
  Pause& operator=(const Pause&) = delete;

 private:
  int left_;
};

// Blocks that this thread has allocated and not freed, from the start of counting.
long live_blocks();

// While it lives, closing a stream or a descriptor finds the disk full.
class FailClose {
 public:
  FailClose();
  ~FailClose();
  FailClose(const FailClose&) = delete;
  FailClose& operator=(const FailClose&) = delete;
  [[nodiscard]] static bool triggered();
};

// While it lives, the disk takes `room` more bytes through `write`, in part where a write asks for more, and then
// refuses each with `error`. A stream's own writing doesn't pass here.
class FailWrite {
 public:
  explicit FailWrite(std::size_t room, int error = ENOSPC);
  ~FailWrite();
  FailWrite(const FailWrite&) = delete;
  FailWrite& operator=(const FailWrite&) = delete;
  [[nodiscard]] static bool triggered();
};

// Runs `round` with the first allocation failing, the second, ... until none fails any more; in one pass each failure
// stands alone, in the other all that follow fail too. `round(at, for_good)` says whether its shortage was felt.
template <class Round>
void for_each_allocation(Round&& round) {
  for (const bool for_good : {false, true}) {
    for (int at = 1; round(at, for_good); ++at) {
    }
  }
}

}  // namespace fault_injection
