// Ctrl-C while transfers run: it raises the state of their handle, and the module ends them in good order.
#pragma once

#include "host/client/drive.h"

namespace host {

// Thrown where work is given up because of Ctrl-C between two transfers.
struct Interrupted {};

// One at a time. While it lives, SIGINT and SIGTERM stop its handle instead of the process.
class InterruptGuard {
 public:
  InterruptGuard();
  ~InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;

  [[nodiscard]] const Handle& handle() const { return handle_; }
  void throw_if_interrupted() const;

 private:
  Handle handle_ = new_handle();
};

}  // namespace host
