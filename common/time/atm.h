// The broken-down time that all date reading fills.
#pragma once

#include <cstdint>
#include <ctime>

namespace localdisk {

// The calendar fields of the system's `tm`, and the microseconds. A negative value in one of the fields from
// tm_sec to tm_year says that the text has not given it (yet).
struct atm {
  std::int32_t tm_sec;
  std::int32_t tm_min;
  std::int32_t tm_hour;  // 0 to 24: midnight may be written as the end of the day
  std::int32_t tm_mday;  // 1 to 31
  std::int32_t tm_mon;   // 0 to 11
  std::int32_t tm_year;  // years since 1900
  std::int32_t tm_wday;  // 0, Sunday, to 6
  std::int32_t tm_yday;
  std::int32_t tm_isdst;
  std::int64_t tm_usec;  // of the second; has no part in any conversion
};

// Copies of the nine calendar fields. The microseconds of an `atm` made from a `tm` are 0.
tm to_tm(const atm& record) noexcept;
atm to_atm(const tm& fields) noexcept;

// Seconds since 1970-01-01 00:00:00 UTC of the fields read as UTC, or -1 when the year lies before 1970, the
// month is none, or the hour, minute or second is not given. The day is taken as it stands, whatever it is.
// Every fourth year counts as a leap year, so the result is a day too late from 1 March 2100 on.
time_t tm_to_time_t(const atm* record) noexcept;

}  // namespace localdisk
