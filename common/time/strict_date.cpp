#include "common/time/strict_date.h"

#include <time.h>

#include <cstddef>
#include <limits>

#include "common/text/ascii.h"
#include "common/time/atm.h"
#include "common/time/date_at.h"
#include "common/time/date_group.h"
#include "common/time/date_text.h"
#include "common/time/date_words.h"

namespace localdisk {
namespace {

// Stands for "none found yet", so that an offset of one minute west of UTC can't be told from it.
constexpr int no_offset = -1;

constexpr unsigned long least_epoch_seconds = 100000000;

// What is known of the date so far.
struct Reading {
  atm date{.tm_sec = -1,
           .tm_min = -1,
           .tm_hour = -1,
           .tm_mday = -1,
           .tm_mon = -1,
           .tm_year = -1,
           .tm_wday = 0,
           .tm_yday = 0,
           .tm_isdst = -1,
           .tm_usec = 0};
  int offset = no_offset;
  bool from_epoch = false;
};

bool nothing_given(const atm& date) noexcept {
  return date.tm_sec < 0 && date.tm_min < 0 && date.tm_hour < 0 && date.tm_mday < 0 && date.tm_mon < 0 &&
         date.tm_year < 0;
}

// "0130" stands for an hour and a half.
constexpr int minutes_of_hhmm(long hhmm) noexcept { return saturate(hhmm / 100 * 60 + hhmm % 100); }

// Reads "@seconds +hhmm", which has to be the whole line.
bool read_stamp(const char* text, timeval& result, int& offset) noexcept {
  if (text[0] != '@' || !is_digit(text[1])) return false;
  const char* at = text + 1;
  const unsigned long stamp = read_unsigned(at);
  if (stamp == std::numeric_limits<unsigned long>::max()) return false;
  if (at[0] != ' ' || (at[1] != '+' && at[1] != '-')) return false;
  const bool west = at[1] == '-';
  const char* const digits = at + 2;
  at = digits;
  const int minutes = minutes_of_hhmm(read_signed(at));
  if (at != digits + 4 || (*at != '\0' && *at != '\n')) return false;
  result.tv_sec = saturate_unsigned(stamp);
  offset = west ? -minutes : minutes;
  return true;
}

// The readers of tokens take the position of one, keep what they understand and give the position after it.

const char* read_word(const char* at, Reading& reading) noexcept {
  atm& date = reading.date;
  if (const WordMatch month = match_month(at)) {
    date.tm_mon = month.value;
    return at + month.length;
  }
  if (const WordMatch weekday = match_weekday(at)) {
    date.tm_wday = weekday.value;
    return at + weekday.length;
  }
  if (const WordMatch zone = match_zone(at)) {
    if (reading.offset == no_offset) reading.offset = zone.value;
    return at + zone.length;
  }
  if (match_word(at, "PM") == 2) {
    date.tm_hour = date.tm_hour % 12 + 12;
    return at + 2;
  }
  if (match_word(at, "AM") == 2) {
    date.tm_hour = date.tm_hour % 12;
    return at + 2;
  }
  while (is_letter(*at)) ++at;
  return at;
}

bool take_epoch_seconds(unsigned long seconds, Reading& reading) noexcept {
  if (seconds < least_epoch_seconds || !nothing_given(reading.date)) return false;
  const time_t instant = saturate_unsigned(seconds);
  tm utc{};
  if (::gmtime_r(&instant, &utc) == nullptr) return false;
  reading.date = to_atm(utc);
  reading.from_epoch = true;
  return true;
}

// Four figures are an offset, for no date has a year that early, or a year.
void take_four_digits(int num, Reading& reading) noexcept {
  if (num <= 1400) {
    if (reading.offset == no_offset) reading.offset = minutes_of_hhmm(num);
  } else if (num > 1900 && num < 2100) {
    reading.date.tm_year = num - 1900;
  }
}

// One or two figures are what the date still lacks: the day, then the year, then the month.
void take_short_number(int num, std::ptrdiff_t digits, atm& date) noexcept {
  if (num >= 1 && num <= 31 && date.tm_mday < 0) {
    date.tm_mday = num;
    return;
  }
  if (digits == 2 && date.tm_year < 0) {
    if (num <= 9 && date.tm_mday >= 0) {
      date.tm_year = num + 100;
      return;
    }
    if (num >= 70) {
      date.tm_year = num;
      return;
    }
  }
  if (num >= 1 && num <= 12 && date.tm_mon < 0) date.tm_mon = num - 1;
}

const char* read_number(const char* at, Reading& reading, const Clock& clock) noexcept {
  const char* end = at;
  const unsigned long num = read_unsigned(end);
  if (take_epoch_seconds(num, reading)) return end;
  if (const char* const after = read_number_group(num, end, reading.date, clock)) return after;
  const std::ptrdiff_t digits = end - at;
  if (digits == 4) {
    take_four_digits(static_cast<int>(num), reading);
  } else if (digits <= 2) {
    take_short_number(static_cast<int>(num), digits, reading.date);
  }
  return end;
}

// Reads "+hh", "+hhmm" or "+hh:mm". Figures override whatever offset was found before.
const char* read_offset(const char* at, Reading& reading) noexcept {
  const char* const digits = at + 1;
  const char* end = digits;
  unsigned long hours = read_unsigned(end);
  unsigned long minutes = 0;
  if (end - digits == 4) {
    minutes = hours % 100;
    hours /= 100;
  } else if (end - digits != 2) {
    return end;
  } else if (*end == ':') {
    ++end;
    minutes = read_unsigned(end);
    if (end - digits != 5) return end;
  }
  if (hours > 23 || minutes > 59) return end;
  const int east = static_cast<int>(hours * 60 + minutes);
  reading.offset = *at == '-' ? -east : east;
  return end;
}

// A line feed ends the date.
Reading read_line(const char* text, const Clock& clock) noexcept {
  Reading reading;
  const char* at = text;
  while (*at != '\0' && *at != '\n') {
    if (is_letter(*at)) {
      at = read_word(at, reading);
    } else if (is_digit(*at)) {
      at = read_number(at, reading, clock);
    } else if ((*at == '+' || *at == '-') && is_digit(at[1])) {
      at = read_offset(at, reading);
    } else {
      ++at;
    }
  }
  return reading;
}

// Minutes that the local zone is east of UTC at the local time `date`, which is `as_utc` when read as UTC.
int local_offset(const atm& date, time_t as_utc) noexcept {
  tm local = to_tm(date);
  return saturate((as_utc - ::mktime(&local)) / 60);
}

}  // namespace

int parse_date_at(const char* text, timeval* result, int* offset, const Clock& clock) noexcept {
  timeval unused_result{};
  int unused_offset = no_offset;
  timeval& instant = result == nullptr ? unused_result : *result;
  int& east = offset == nullptr ? unused_offset : *offset;
  if (text == nullptr) text = "";
  if (read_stamp(text, instant, east)) return 0;

  const Reading reading = read_line(text, clock);
  const time_t as_utc = tm_to_time_t(&reading.date);
  instant.tv_sec = as_utc;
  instant.tv_usec = static_cast<decltype(instant.tv_usec)>(reading.date.tm_usec);
  if (as_utc == -1 && offset == nullptr) return -1;  // spares a look at the machine's zone that nobody would notice
  east = reading.offset == no_offset ? local_offset(reading.date, as_utc) : reading.offset;
  if (as_utc == -1) return -1;
  if (!reading.from_epoch) instant.tv_sec -= time_t{east} * 60;
  return 0;
}

}  // namespace localdisk

int parse_date_basic(const char* text, timeval* result, int* offset) {
  return localdisk::parse_date_at(text, result, offset, localdisk::Clock());
}
