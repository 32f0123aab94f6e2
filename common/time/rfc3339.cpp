#include "common/time/rfc3339.h"

#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

#include "common/time/timestamp_text.h"

namespace {

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }

int saturate(long long value) {
  constexpr long long low = std::numeric_limits<int>::min();
  constexpr long long high = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(value, low, high));
}

// Reads one signed decimal number at `text` and moves past it; false when there is none.
bool read_int(const char*& text, int& value) {
  const char* at = text;
  while (is_space(*at)) ++at;
  const bool negative = *at == '-';
  if (*at == '-' || *at == '+') ++at;
  if (!is_digit(*at)) return false;
  long long magnitude = 0;
  constexpr long long beyond_int = std::numeric_limits<int>::max() + 1LL;
  for (; is_digit(*at); ++at) magnitude = std::min(magnitude * 10 + (*at - '0'), beyond_int);
  value = saturate(negative ? -magnitude : magnitude);
  text = at;
  return true;
}

}  // namespace

std::string TMToRFC3339(tm* t) { return std::string(TimestampText(*t).view()); }

std::string TMToUTCRFC3339(tm* t) {
  ::mktime(t);
  tm normalised = *t;
  return TimeToRFC3339(::mktime(&normalised));
}

// The way through local time and back, localtime_r and mktime, returns to the same instant, so it is left
// out.
std::string TimeToRFC3339(long instant) {
  const time_t seconds = instant;
  tm utc{};
  if (::gmtime_r(&seconds, &utc) == nullptr) return {};
  return TMToRFC3339(&utc);
}

std::string TimeToUTCRFC3339(long instant) { return TimeToRFC3339(instant); }

tm read_rfc3339_fields(const char* text) noexcept {
  tm fields{};
  if (text == nullptr) text = "";
  struct Item {
    int* field;
    char separator;  // that has to follow before the next item is looked for
  };
  for (const auto& [field, separator] : std::to_array<Item>({{&fields.tm_year, '-'},
                                                             {&fields.tm_mon, '-'},
                                                             {&fields.tm_mday, 'T'},
                                                             {&fields.tm_hour, ':'},
                                                             {&fields.tm_min, ':'},
                                                             {&fields.tm_sec, '\0'}})) {
    if (!read_int(text, *field) || *text != separator || separator == '\0') break;
    ++text;
  }
  fields.tm_year = saturate(fields.tm_year - 1900LL);
  fields.tm_mon = saturate(fields.tm_mon - 1LL);
  return fields;
}

time_t RFC3339ToTM(const char* text) {
  tm fields = read_rfc3339_fields(text);
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
