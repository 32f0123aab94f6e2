#include <time.h>

#include <array>
#include <cstdio>
#include <sstream>
#include <string>

#include "bench/fixtures.h"
#include "bench/rows.h"
#include "common/time/approxidate.h"
#include "common/time/iso8601.h"
#include "common/time/rfc3339.h"
#include "common/time/strict_date.h"

namespace {

constexpr const char* timestamp = "2024-03-05T14:07:09.000Z";
constexpr const char* mail = "Tue, 05 Mar 2024 14:07:09 +0100";
constexpr const char* iso_local = "2024-03-05 14:07:09";

// Instants that differ from call to call, so that nothing is worked out before.
long next_instant() {
  static long instant = 1700000000;
  return instant += 12345;
}

tm next_fields() {
  static int count = 0;
  tm fields{};
  fields.tm_year = 124;
  fields.tm_mon = count % 12;
  fields.tm_mday = 1 + count % 28;
  fields.tm_hour = count % 24;
  fields.tm_min = fields.tm_sec = ++count % 60;
  return fields;
}

std::string printed(const tm& t) {
  std::array<char, 96> text;
  const int length = std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.000Z", t.tm_year + 1900,
                                   t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
  return {text.data(), static_cast<std::size_t>(length)};
}

std::string printed_utc(time_t instant) {
  tm utc{};
  ::gmtime_r(&instant, &utc);
  return printed(utc);
}

time_t instant_of_fields() {
  tm fields{};
  fields.tm_year = 124;
  fields.tm_mon = 2;
  fields.tm_mday = 5;
  fields.tm_hour = 14;
  fields.tm_min = 7;
  fields.tm_sec = 9;
  return ::mktime(&fields);
}

int number(const char*& at) {
  int value = 0;
  while (*at >= '0' && *at <= '9') value = value * 10 + (*at++ - '0');
  return value;
}

void put_digits(char* at, std::size_t count, long value) {
  for (; count > 0; value /= 10) at[--count] = static_cast<char>('0' + value % 10);
}

std::string now_by_hand() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  tm utc{};
  ::gmtime_r(&now.tv_sec, &utc);
  std::string text = "0000-00-00T00:00:00.000";
  put_digits(&text[0], 4, utc.tm_year + 1900L);
  put_digits(&text[5], 2, utc.tm_mon + 1L);
  put_digits(&text[8], 2, utc.tm_mday);
  put_digits(&text[11], 2, utc.tm_hour);
  put_digits(&text[14], 2, utc.tm_min);
  put_digits(&text[17], 2, utc.tm_sec);
  put_digits(&text[20], 3, now.tv_nsec / 1000000);
  return text;
}

// Reads the one shape of the row and checks nothing but the separators.
time_t instant_by_hand(const char* at) {
  const int year = number(at);
  if (*at++ != '-') return 0;
  const int month = number(at);
  if (*at++ != '-') return 0;
  const int day = number(at);
  if (*at++ != 'T') return 0;
  const int hour = number(at);
  if (*at++ != ':') return 0;
  const int minute = number(at);
  if (*at++ != ':') return 0;
  const int second = number(at);
  const int of_march = year - (month < 3 ? 1 : 0);
  const int day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const long days = of_march * 365L + of_march / 4 - of_march / 100 + of_march / 400 + day_of_year - 719468;
  return ((days * 24 + hour) * 60 + minute) * 60 + second;
}

template <class Read>
time_t from_stream(Read read) {
  return read(std::istringstream(timestamp));
}

time_t by_strptime(const char* text, const char* format) {
  tm fields{};
  ::strptime(text, format, &fields);
  fields.tm_isdst = -1;
  return ::mktime(&fields);
}

long strictly(const char* text) {
  timeval result{};
  int offset = 0;
  parse_date_basic(text, &result, &offset);
  return result.tv_sec;
}

int approximately(const char* text) {
  tm result{};
  approxidate(text, &result);
  return result.tm_mday;
}

int approximately_yesterday() { return approximately("yesterday 5pm"); }

time_t exactly() { return by_strptime(iso_local, "%Y-%m-%d %H:%M:%S"); }

}  // namespace

void bench::add_time_rows() {
  const auto print_fields = [] {
    const tm fields = next_fields();
    return printed(fields);
  };
  Row("TMToRFC3339")
      .module([] {
        tm fields = next_fields();
        return TMToRFC3339(&fields);
      })
      .peer(print_fields);
  Row("TimeToRFC3339").module([] { return TimeToRFC3339(next_instant()); }).baseline([] {
    return printed_utc(next_instant());
  });
  Row("GetSystemTimeRfc3339").module(GetSystemTimeRfc3339).baseline(now_by_hand);
  Row("RFC3339ToTM").module([] { return RFC3339ToTM(timestamp); }).baseline(instant_of_fields);
  Row("parse8601")
      .module([] { return from_stream([](std::istream&& in) { return parse8601(std::move(in)); }); })
      .baseline([] {
        return from_stream([](std::istream&& in) {
          std::string word;
          in >> word;
          return instant_by_hand(word.c_str());
        });
      });
  Row("RFC3339ToLocalTM").module([] { return RFC3339ToLocalTM(timestamp); }).baseline([] {
    const std::string copy = timestamp;
    return instant_by_hand(copy.c_str());
  });
  Row("parse_date_basic, mail style").module([] { return strictly(mail); }).peer([] {
    return by_strptime(mail, "%a, %d %b %Y %H:%M:%S %z");
  });
  Row("parse_date_basic, ISO style").module([] { return strictly(iso_local); }).peer([] {
    return by_strptime(iso_local, "%Y-%m-%d %H:%M:%S");
  });
  Row("approxidate").module(approximately_yesterday).peer(exactly);
}

void bench::add_time_rows_with_zone() {
  Row("approxidate, TZ set")
      .module([] {
        set_zone();
        return approximately_yesterday();
      })
      .peer(exactly);
}
