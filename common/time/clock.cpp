#include "common/time/clock.h"

namespace localdisk {

timeval Clock::now() const noexcept {
  if (standing_) return *standing_;
  timeval instant{};
  ::gettimeofday(&instant, nullptr);
  return instant;
}

}  // namespace localdisk
