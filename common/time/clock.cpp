#include "common/time/clock.h"

timeval Clock::now() const noexcept {
  if (standing_) return *standing_;
  timeval instant{};
  ::gettimeofday(&instant, nullptr);
  return instant;
}
