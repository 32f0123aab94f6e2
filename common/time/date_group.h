// Reading of numbers that belong together: 2008-02-14, 14.02.2008, 2/14, 20:30:45.25.
#pragma once

#include "common/time/atm.h"
#include "common/time/clock.h"

namespace localdisk {

// Reads the group that begins with the number `num` and goes on at `at`, after that number: with a colon, hyphen,
// slash or dot, and a digit. A time sets the hour, minute, second and microseconds of
// `record`; a date sets the day and month, and the year if it gives one. Which of its numbers is the day is
// decided by their size, by the separator and by what would lie more than ten days ahead by `clock`. Gives the
// end of the whole group, or null where there is none or it is no time and no date; `record` is then unchanged.
//
// A clock that shows no year that fits a record can't tell what lies ahead: then every date of a sensible form is
// taken, a missing year is left alone, and a group that gives null may have set the day and month.
const char* read_number_group(unsigned long num, const char* at, atm& record, const Clock& clock) noexcept;

}  // namespace localdisk
