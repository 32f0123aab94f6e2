#include "common/time/date_group.h"

#include <time.h>

#include <algorithm>
#include <cstddef>
#include <optional>

#include "common/text/ascii.h"
#include "common/time/date_text.h"

namespace localdisk {
namespace {

constexpr long not_given = -1;
constexpr time_t ten_days = time_t{10} * 86400;

// The numbers of a group after its first one.
struct Rest {
  long second = not_given;
  long third = not_given;
  long microseconds = 0;
  const char* end = nullptr;
};

// Today, against which dates are held.
struct Reference {
  int year;
  time_t ten_days_ahead;
};

// Reads what follows the dot as a fraction of a second: "25" are 250000 microseconds. A sign or white space
// counts as a place. Six digits are as many as fit, those after them are passed over.
long read_microseconds(const char*& at) noexcept {
  constexpr std::ptrdiff_t places = 6;
  const char* const start = at;
  long value = read_signed(at);
  const char* digits = start;
  while (digits != at && !is_digit(*digits)) ++digits;
  if (at - digits > places) {
    const bool negative = digits != start && digits[-1] == '-';
    value = 0;
    for (const char* digit = digits; digit != digits + places; ++digit) value = value * 10 + (*digit - '0');
    return negative ? -value : value;
  }
  for (std::ptrdiff_t place = at - start; place < places; ++place) value *= 10;
  return value;
}

Rest read_rest(const char* at, char separator) noexcept {
  Rest rest{};
  rest.second = read_signed(at);
  rest.end = at;
  if (*at != separator || !is_digit(at[1])) return rest;
  ++at;
  rest.third = read_signed(at);
  if (*at == '.') {
    ++at;
    rest.microseconds = read_microseconds(at);
  }
  rest.end = at;
  return rest;
}

bool take_time(unsigned long hour, const Rest& rest, atm& record) noexcept {
  const long minute = rest.second;
  const long second = std::max(rest.third, 0L);
  if (hour > 24 || minute < 0 || minute > 59 || second > 60) return false;
  record.tm_hour = static_cast<int>(hour);
  record.tm_min = static_cast<int>(minute);
  record.tm_sec = static_cast<int>(second);
  record.tm_usec = rest.microseconds;
  return true;
}

// Sets the year from the number that was written for it. Two figures mean 1971 to 1999 or 2000 to 2037.
bool take_year(long year, atm& record) noexcept {
  if (year >= 1970 && year < 2100) {
    record.tm_year = static_cast<int>(year - 1900);
  } else if (year > 70 && year < 100) {
    record.tm_year = static_cast<int>(year);
  } else if (year < 38) {
    record.tm_year = static_cast<int>(year + 100);
  } else {
    return false;
  }
  return true;
}

bool take_date(long year, long month, long day, const std::optional<Reference>& today, atm& record) noexcept {
  if (month < 1 || month > 12 || day < 1 || day > 31) return false;
  atm trial = record;
  atm& target = today ? trial : record;
  target.tm_mon = static_cast<int>(month - 1);
  target.tm_mday = static_cast<int>(day);
  if (year != not_given) {
    if (!take_year(year, target)) return false;
  } else if (today) {
    trial.tm_year = today->year;
  }
  if (!today) return true;

  // A record without a time of day has no instant yet, and then no date lies too far ahead.
  if (tm_to_time_t(&trial) > today->ten_days_ahead) return false;
  record.tm_mon = trial.tm_mon;
  record.tm_mday = trial.tm_mday;
  if (year != not_given) record.tm_year = trial.tm_year;
  return true;
}

std::optional<Reference> today_by(const Clock& clock) noexcept {
  const time_t now = clock.now().tv_sec;
  tm utc{};
  if (::gmtime_r(&now, &utc) == nullptr) return std::nullopt;
  return Reference{.year = utc.tm_year, .ten_days_ahead = now + ten_days};
}

bool take_any_date(unsigned long num, char separator, const Rest& rest, atm& record, const Clock& clock) noexcept {
  const std::optional<Reference> today = today_by(clock);
  const long first = saturate_unsigned(num);
  const auto& [second, third, microseconds, end] = rest;
  if (first > 70) {
    if (take_date(first, second, third, today, record)) return true;  // yyyy-mm-dd
    if (take_date(first, third, second, today, record)) return true;  // yyyy-dd-mm
  }
  if (separator != '.' && take_date(third, first, second, today, record)) return true;  // mm/dd/yy
  if (take_date(third, second, first, today, record)) return true;                      // dd.mm.yy
  return separator == '.' && take_date(third, first, second, today, record);            // mm.dd.yy
}

}  // namespace

const char* read_number_group(unsigned long num, const char* at, atm& record, const Clock& clock) noexcept {
  const char separator = *at;
  if (separator != ':' && separator != '-' && separator != '/' && separator != '.') return nullptr;
  if (!is_digit(at[1])) return nullptr;
  const Rest rest = read_rest(at + 1, separator);
  const bool taken =
      separator == ':' ? take_time(num, rest, record) : take_any_date(num, separator, rest, record, clock);
  return taken ? rest.end : nullptr;
}

}  // namespace localdisk
