// Ctrl-C and its relatives while the tool works: they raise the state of the running transfer's handle, and the
// module ends it in good order.
#pragma once

#include "host/client/drive.h"

namespace host {

// Thrown where work is given up because of a signal.
struct Interrupted {};

// One at a time. While it lives, the first SIGINT, SIGTERM or SIGHUP stops the transfer instead of the process, and a
// second one ends the process. A signal that is ignored, as SIGHUP is under nohup, stays so.
class InterruptGuard {
 public:
  InterruptGuard();
  ~InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;

  // The handle of the next transfer; one at a time.
  [[nodiscard]] const Handle& begin_transfer() const;
  [[nodiscard]] bool interrupted() const;
  void throw_if_interrupted() const;

 private:
  mutable Handle handle_ = new_handle();
};

}  // namespace host
