// Any bytes as the fields of a time: the text is complete, whatever they hold.
#include <cstring>

#include "common/time/rfc3339.h"
#include "common/time/server_clock.h"
#include "fuzz/target.h"
#include "fuzz/zone.h"

FUZZ_TARGET(timestamp_fields) {
  use_zone("CET-1CEST,M3.5.0,M10.5.0/3");
  const std::string bytes = input.rest();
  int numbers[6] = {};
  long instant = 0;
  std::memcpy(numbers, bytes.data(), std::min(bytes.size(), sizeof(numbers)));
  std::memcpy(&instant, bytes.data(), std::min(bytes.size(), sizeof(instant)));
  tm fields{};
  fields.tm_year = numbers[0];
  fields.tm_mon = numbers[1];
  fields.tm_mday = numbers[2];
  fields.tm_hour = numbers[3];
  fields.tm_min = numbers[4];
  fields.tm_sec = numbers[5];
  const std::string printed = TMToRFC3339(&fields);
  HOLDS(printed.size() >= 24 && printed.ends_with(".000Z"));
  tm local = fields;
  const std::string in_utc = TMToUTCRFC3339(&local);
  local = fields;
  local.tm_isdst = 0;
  const time_t made = ::mktime(&local);
  if (made != -1) HOLDS(in_utc == TimeToUTCRFC3339(made));
  const std::string text = TimeToRFC3339(instant);
  HOLDS(text.empty() || text.size() >= 24);
  HOLDS(NoAdjustOffsetForServerTime(instant) == text);
  static_cast<void>(AdjustOffsetForServerTime(instant));
}
