// Instants for the tests of the date readers, by the standard library's calendar.
#pragma once

#include <sys/time.h>

#include <chrono>
#include <ctime>
#include <iomanip>
#include <sstream>
#include <string>

#include "common/time/clock.h"

// Seconds since the epoch of a reading of the clock in UTC.
inline time_t utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0, int second = 0) {
  using namespace std::chrono;
  const sys_days date = std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day);
  return (date.time_since_epoch() + hours(hour) + minutes(minute) + seconds(second)) / seconds(1);
}

inline localdisk::Clock clock_at(time_t instant) {
  return localdisk::Clock(timeval{.tv_sec = instant, .tv_usec = 0});
}

inline std::string formatted(const tm& fields, const char* format) {
  std::ostringstream text;
  text << std::put_time(&fields, format);
  return text.str();
}

inline std::string upper_case(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}
