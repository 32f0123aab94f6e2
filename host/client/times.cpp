#include "host/client/times.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace host {
namespace {

constexpr time_t hour = 3600, day = 24 * hour;

tm utc_fields(time_t instant) {
  tm fields{};
  ::gmtime_r(&instant, &fields);
  return fields;
}

// A wall-clock reading as a number: the instant at which a clock of UTC shows it.
time_t reading_at(time_t instant) {
  tm fields{};
  ::localtime_r(&instant, &fields);
  return ::timegm(&fields);
}

time_t offset_at(time_t instant) { return reading_at(instant) - instant; }

// What the module makes of a reading.
time_t as_standard_time(time_t reading) {
  tm fields = utc_fields(reading);  // which says that no summer time is in effect
  return ::mktime(&fields);
}

std::string text_of(time_t reading, const char* end) {
  const tm fields = utc_fields(reading);
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%04ld-%02d-%02dT%02d:%02d:%02d%s", fields.tm_year + 1900L,
                fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec, end);
  return text.data();
}

bool read_fields(const std::string& text, time_t& reading) {
  tm fields{};
  if (std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%d", &fields.tm_year, &fields.tm_mon, &fields.tm_mday,
                  &fields.tm_hour, &fields.tm_min, &fields.tm_sec) != 6) {
    return false;
  }
  fields.tm_year -= 1900;
  fields.tm_mon -= 1;
  reading = ::timegm(&fields);
  return true;
}

// The reading that the module takes for `instant`, or for the nearest instant that it can be told.
time_t set_reading(time_t instant) {
  const time_t half_a_year = 183 * day, now = offset_at(instant);
  time_t best = instant + now, least = -1;
  for (const time_t offset : {now, offset_at(instant - half_a_year), offset_at(instant + half_a_year), now - hour,
                              now + hour, offset_at(instant - day), offset_at(instant + day)}) {
    const time_t error = instant - as_standard_time(instant + offset);
    if (error == 0) return instant + offset;
    // The mistake tells the offset that the module goes by.
    if (as_standard_time(instant + offset + error) == instant) return instant + offset + error;
    if (least < 0 || std::abs(error) < least) {
      least = std::abs(error);
      best = instant + offset;
    }
  }
  return best;
}

}  // namespace

std::string format_set_time(time_t instant) {
  ::tzset();
  return text_of(set_reading(instant), "Z");
}

time_t parse_record_time(const std::string& text) {
  time_t reading = 0;
  if (!read_fields(text, reading)) return -1;
  // The offsets around the reading, of which the greater one leads to the earlier instant.
  const time_t before = offset_at(reading - 3 * day / 2), after = offset_at(reading + 3 * day / 2);
  const time_t here = offset_at(reading - before);
  time_t earliest = reading - before;
  bool found = false;
  for (const time_t offset : {before, here, after}) {
    const time_t instant = reading - offset;
    if (offset_at(instant) != offset || (found && instant >= earliest)) continue;
    earliest = instant;
    found = true;
  }
  return earliest;
}

bool shows_time(const std::string& text, time_t instant) {
  time_t reading = 0;
  if (!read_fields(text, reading)) return false;
  return reading == reading_at(instant) || reading == reading_at(as_standard_time(set_reading(instant)));
}

std::string format_local_time(time_t instant) {
  const time_t offset = offset_at(instant), size = std::abs(offset);
  std::array<char, 32> end{};
  const int length = std::snprintf(end.data(), end.size(), "%c%02ld:%02ld", offset < 0 ? '-' : '+',
                                   static_cast<long>(size / hour), static_cast<long>(size % hour / 60));
  if (size % 60 != 0) {  // before zones were in whole minutes
    std::snprintf(end.data() + length, end.size() - static_cast<std::size_t>(length), ":%02ld",
                  static_cast<long>(size % 60));
  }
  return text_of(instant + offset, end.data());
}

std::string format_utc_time(time_t instant) { return text_of(instant, "Z"); }

}  // namespace host
