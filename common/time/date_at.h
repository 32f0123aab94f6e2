// The two readers of dates by a clock of the caller's choice, so that what they give doesn't depend on the day.
#pragma once

#include <sys/time.h>

#include <ctime>

#include "common/time/clock.h"

namespace localdisk {

// parse_date_basic (strict_date.h) by the given clock.
int parse_date_at(const char* text, timeval* result, int* offset, const Clock& clock) noexcept;

// approxidate (approxidate.h) by the given clock.
int approxidate_at(const char* text, tm* result, const Clock& clock) noexcept;

}  // namespace localdisk
