// A line is a timestamp: the fields that are read print as a text that reads as the same fields.
#include "common/time/rfc3339.h"
#include "common/time/server_clock.h"
#include "common/time/timestamp_text.h"
#include "fuzz/target.h"
#include "fuzz/zone.h"

FUZZ_TARGET(rfc3339) {
  use_zone("UTC0");
  const std::string text = input.rest();
  tm fields = localdisk::read_timestamp(text.c_str());
  const tm again = localdisk::read_timestamp(TMToRFC3339(&fields).c_str());
  HOLDS(again.tm_sec == fields.tm_sec && again.tm_min == fields.tm_min && again.tm_hour == fields.tm_hour);
  HOLDS(again.tm_mday == fields.tm_mday && again.tm_mon == fields.tm_mon && again.tm_year == fields.tm_year);
  const time_t instant = RFC3339ToTM(text.c_str());
  const std::string plain = TimeToRFC3339(instant);
  HOLDS(plain == TimeToUTCRFC3339(instant) && plain == AdjustOffsetForServerTime(instant));
  constexpr time_t last = 67767000000000000;  // whose year is still read, and not cut to the widest number
  if (!plain.empty() && instant < last) HOLDS(RFC3339ToTM(plain.c_str()) == instant);
  HOLDS(AdjustServerTimeOffset(text.c_str()) == plain);
  HOLDS(NoAdjustServerTimeOffset(text.c_str()) == text.c_str());
}
