#include "common/time/rfc3339.h"

#include <sys/time.h>

#include "common/time/timestamp_text.h"

std::string TMToRFC3339(tm* t) {
  localdisk::TimestampText text;
  text.set(*t);
  return std::string(text.view());
}

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
  std::string text = TMToRFC3339(&utc);
  text.pop_back();  // the "Z"
  long milliseconds = now.tv_usec / 1000;
  for (std::size_t place = 1; place <= 3; ++place, milliseconds /= 10) {
    text[text.size() - place] = static_cast<char>('0' + milliseconds % 10);
  }
  return text;
}
