// A line is a date-time with its zone: the instant that is read prints as a text that reads as the same instant.
#include <sstream>

#include "common/time/iso8601.h"
#include "common/time/rfc3339.h"
#include "fuzz/target.h"

FUZZ_TARGET(iso8601) {
  const std::string text = input.rest();
  const time_t instant = RFC3339ToLocalTM(text.c_str());
  HOLDS(parse8601(std::istringstream(text.c_str())) == instant);
  constexpr time_t first = -62167219200, last = 253402300799;  // the years 0 to 9999
  if (instant >= first && instant <= last) HOLDS(RFC3339ToLocalTM(TimeToRFC3339(instant).c_str()) == instant);
}
