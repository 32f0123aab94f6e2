// The timestamp text that the module exchanges with its host, "2021-07-01T12:00:00.000Z", and its way back.
//
// The text always ends in ".000Z", whatever zone its fields were taken in: file times carry the local wall clock, the
// functions that say UTC carry UTC. Instants are seconds since 1970-01-01 00:00:00 UTC. Every function may be called
// from several threads at once and uses the zone that the process has at the time of the call.
#pragma once

#include <ctime>
#include <string>

#include "common/export.h"

// The timestamp text of the fields of `t` exactly as they are; nothing is converted, normalised or checked. Fields
// out of their ranges are printed in full, so the text of such a record is longer than the usual 24 characters.
LOCALDISK_EXPORT std::string TMToRFC3339(tm* t);

// The timestamp text, in UTC, of the instant that the local time `t` denotes. `t` is normalised in place as
// mktime does it: fields out of range are carried over, the weekday, day of the year and summer-time flag are
// filled in.
LOCALDISK_EXPORT std::string TMToUTCRFC3339(tm* t);

// The timestamp text of an instant in UTC. An instant whose year does not fit the calendar record gives the
// empty text.
LOCALDISK_EXPORT std::string TimeToRFC3339(long instant);

// The same as TimeToRFC3339.
LOCALDISK_EXPORT std::string TimeToUTCRFC3339(long instant);

// Reads "year-month-dayThour:minute:second" and takes it as local standard time: where summer time of an hour is in
// effect, the result is an hour later than the instant whose wall clock the text shows. Numbers may have any count of
// digits, a sign and white space before them, and saturate where an int ends; the rest of the text (fraction, "Z",
// offset) is ignored. Reading stops at the first character that does not fit, and the fields from there on count as
// 0. Returns what mktime makes of the fields, -1 where it can't represent them. A null text reads like an empty one.
LOCALDISK_EXPORT time_t RFC3339ToTM(const char* text);

// The current time in UTC with milliseconds and without a zone letter: "2021-07-01T12:00:00.123".
LOCALDISK_EXPORT std::string GetSystemTimeRfc3339();
