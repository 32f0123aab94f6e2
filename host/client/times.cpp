#include "host/client/times.h"

#include <array>
#include <cstdio>

namespace host {

std::string format_set_time(time_t instant) {
  // mktime takes the UTC fields for local standard time: the difference is the standard offset.
  tm utc{};
  ::gmtime_r(&instant, &utc);
  tm as_local = utc;
  const time_t east = instant - ::mktime(&as_local);
  const time_t shifted = instant + east;
  tm fields{};
  ::gmtime_r(&shifted, &fields);
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &fields)};
}

time_t parse_record_time(const std::string& text) {
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
