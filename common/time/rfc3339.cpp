#include "common/time/rfc3339.h"

#include <sys/time.h>

#include <array>
#include <cstdio>

#include "common/time/timestamp_text.h"

std::string TMToRFC3339(tm* t) { return std::string(localdisk::TimestampText(*t).view()); }

std::string TMToUTCRFC3339(tm* t) {
  ::mktime(t);
  tm normalised = *t;
  return TimeToRFC3339(::mktime(&normalised));
}

// The way through local time and back, localtime_r and mktime, returns to the same instant, so it is left out.
std::string TimeToRFC3339(long instant) {
  const time_t seconds = instant;
  tm utc{};
  if (::gmtime_r(&seconds, &utc) == nullptr) return {};
  return TMToRFC3339(&utc);
}

std::string TimeToUTCRFC3339(long instant) { return TimeToRFC3339(instant); }

time_t RFC3339ToTM(const char* text) {
  tm fields = localdisk::read_timestamp(text);
  return ::mktime(&fields);
}

std::string GetSystemTimeRfc3339() {
  timeval now{};
  ::gettimeofday(&now, nullptr);
  tm utc{};
  ::gmtime_r(&now.tv_sec, &utc);
  constexpr std::size_t longest = 6 * 12 + 16;  // as if every field were the widest int
  std::array<char, longest> text;
  const int length = std::snprintf(text.data(), text.size(), "%04ld-%02d-%02dT%02d:%02d:%02d.%03d",
                                   utc.tm_year + 1900L, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                                   utc.tm_sec, static_cast<int>(now.tv_usec / 1000));
  return {text.data(), static_cast<std::size_t>(length)};
}
