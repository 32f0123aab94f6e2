// The signals that ask the drive to end, from before it is mounted to the end of the process.
#pragma once

#include <chrono>
#include <optional>

#include "host/mount/descriptor.h"

namespace host {

// From construction on SIGINT, SIGTERM and SIGHUP do nothing but wake who waits here. One more of them, or one that
// comes while the drive is set up or ends, cuts nothing short. One at a time in a process.
class EndSignals {
 public:
  EndSignals();
  ~EndSignals();  // they are ignored then
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;

  // The calling thread leaves the signals to others, so that no call of its work is interrupted.
  static void leave_to_others();

  void ask_for_end() const;
  void wake() const;
  // Until the end is asked for, someone wakes it, or the time is over. Answers whether the end was asked for, once.
  [[nodiscard]] bool wait(std::optional<std::chrono::milliseconds> longest) const;

 private:
  Descriptor woken_, waking_;
};

}  // namespace host
