// The current time as the date readers see it. Dates such as "yesterday" or "12/31" mean something else every
// day, so the readers are handed a clock, and this is the one place where the machine's own is read.
#pragma once

#include <sys/time.h>

#include <optional>

namespace localdisk {

// A clock that goes or stands still.
class Clock {
 public:
  // Shows the machine's current time.
  constexpr Clock() noexcept = default;

  // Stands still at `instant` (seconds and microseconds since 1970-01-01 00:00:00 UTC).
  constexpr explicit Clock(timeval instant) noexcept : standing_(instant) {}

  // What it shows.
  [[nodiscard]] timeval now() const noexcept;

 private:
  std::optional<timeval> standing_;
};

}  // namespace localdisk
