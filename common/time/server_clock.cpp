#include "common/time/server_clock.h"

#include <ctime>

#include "common/time/rfc3339.h"
#include "common/time/timestamp_text.h"

namespace {

// Seconds that the zone's standard time is east of UTC. mktime takes the UTC fields, whose summer-time flag is
// cleared, for local standard time, so what it is off by is the offset.
long zone_offset_at(time_t instant) {
  tm utc{};
  if (::gmtime_r(&instant, &utc) == nullptr) return 0;
  return static_cast<long>(::difftime(instant, ::mktime(&utc)));
}

// An instant so near to the ends of a long that it can't be shifted stays: it has no text either way.
long shifted(long instant, long seconds) {
  long sum = 0;
  return __builtin_add_overflow(instant, seconds, &sum) ? instant : sum;
}

}  // namespace

std::string AdjustOffsetForServerTime(long instant) {
  tm reference{};  // a day on which half the world has summer time: only the standard offset must count
  reference.tm_year = 2015 - 1900;
  reference.tm_mon = 10 - 1;
  reference.tm_mday = 3;
  reference.tm_isdst = -1;
  return TimeToRFC3339(shifted(instant, zone_offset_at(::mktime(&reference))));
}

std::string NoAdjustOffsetForServerTime(long instant) { return TimeToRFC3339(instant); }

std::string AdjustServerTimeOffset(const char* text) {
  tm fields = localdisk::read_timestamp(text);
  const time_t as_standard_time = ::mktime(&fields);
  tm normalised = fields;
  normalised.tm_isdst = -1;
  return TimeToRFC3339(shifted(as_standard_time, -zone_offset_at(::mktime(&normalised))));
}

std::string NoAdjustServerTimeOffset(const char* text) { return text == nullptr ? std::string() : std::string(text); }
