// Shortages made to order: memory that runs out at a chosen allocation, and a stream that fails to close. They take
// the C library's functions over for the whole process, the loaded module included, and act on one thread only.
#pragma once

#include <new>
#include <string>

namespace shortage {

// False where a checker has taken the functions over already.
bool can_be_made();

// While it lives, allocation number `at` of this thread, from 1, finds no memory; with `for_good`, all after it too.
class OfMemory {
 public:
  OfMemory(int at, bool for_good);
  ~OfMemory();
  OfMemory(const OfMemory&) = delete;
  OfMemory& operator=(const OfMemory&) = delete;
  [[nodiscard]] static bool was_felt();
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

// While it lives, closing a stream finds the disk full.
class OfSpaceAtClose {
 public:
  OfSpaceAtClose();
  ~OfSpaceAtClose();
  OfSpaceAtClose(const OfSpaceAtClose&) = delete;
  OfSpaceAtClose& operator=(const OfSpaceAtClose&) = delete;
  [[nodiscard]] static bool was_felt();
};

// Runs `round` with the first allocation failing, the second, ... until none fails any more; in one pass each failure
// stands alone, in the other all that follow fail too. `round(at, for_good)` says whether its shortage was felt.
template <class Round>
void walk(Round&& round) {
  for (const bool for_good : {false, true}) {
    for (int at = 1; round(at, for_good); ++at) {
    }
  }
}

}  // namespace shortage
