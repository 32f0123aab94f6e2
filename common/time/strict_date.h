// The exact reader of dates as mail, logs and machines write them: "Thu, 14 Feb 2008 20:30:45 +0100",
// "2008-02-14T20:30:45Z", "02/14/2008 20:30", "14.02.2008 20:30 CET", "1203021045", "@1203021045 +0100".
#pragma once

#include <sys/time.h>

#include "common/export.h"

// Reads the date in the first line of `text` (ASCII; other characters are skipped, as are unknown words). A
// date needs a year from 1970 on, a month and a time of day, or is a count of seconds since the epoch of nine
// digits or more. Its offset from UTC comes from a zone's name or from figures; without either the date is
// local time.
//
// Gives 0 and sets `result` to the instant and `*offset` to the minutes east of UTC; the form "@seconds +hhmm" leaves
// the microseconds of `result` as they are. Gives -1 for a text that is no date: then tv_sec is -1, and neither
// result is of use. `offset` may be null, so may `result`, and a null text reads like an empty one.
//
// Years end with 2099, and every fourth is a leap year: a count of seconds later than February 2100 comes out a day
// late. Numbers beyond the range of what they set saturate there.
LOCALDISK_EXPORT int parse_date_basic(const char* text, timeval* result, int* offset);
