#include "host/times.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <cstdio>

namespace host {

std::string text_to_send(time_t instant) {
  // mktime takes the UTC fields for local standard time: the difference is the standard offset.
  tm utc{};
  ::gmtime_r(&instant, &utc);
  tm as_local = utc;
  const time_t east = instant - ::mktime(&as_local);
  const time_t shifted = instant + east;
  tm fields{};
  ::gmtime_r(&shifted, &fields);
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}Z", fields);
}

time_t instant_of_record(const std::string& text) {
  tm fields{};
  if (std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%d", &fields.tm_year, &fields.tm_mon, &fields.tm_mday,
                  &fields.tm_hour, &fields.tm_min, &fields.tm_sec) != 6) {
    return -1;
  }
  fields.tm_year -= 1900;
  fields.tm_mon -= 1;
  fields.tm_isdst = -1;
  return ::mktime(&fields);
}

}  // namespace host
