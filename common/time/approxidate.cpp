#include "common/time/approxidate.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

#include "common/text/ascii.h"
#include "common/time/date_at.h"
#include "common/time/date_group.h"
#include "common/time/date_text.h"
#include "common/time/date_words.h"

namespace localdisk {
namespace {

constexpr std::int64_t seconds_a_day = 86400;

// One reading of a text.
struct Reading {
  atm date;
  atm now;
  int number = 0;  // a count whose meaning is still open
};

// Completes the date with what `now` has, and gives its instant. A month without a year is the latest such one.
time_t complete(atm& date, const atm& now) noexcept {
  if (date.tm_mday < 0) date.tm_mday = now.tm_mday;
  if (date.tm_mon < 0) date.tm_mon = now.tm_mon;
  if (date.tm_year < 0) {
    const bool still_to_come = date.tm_mon > now.tm_mon;
    date.tm_year = saturate(std::int64_t{now.tm_year} - (still_to_come ? 1 : 0));
  }
  tm local = to_tm(date);
  return ::mktime(&local);
}

// Completes the date and moves it back. A year that no record can hold leaves it complete but where it was.
void update_atm(atm& date, const atm& now, std::int64_t seconds_back) noexcept {
  const time_t instant = complete(date, now) - seconds_back;
  tm local{};
  if (::localtime_r(&instant, &local) != nullptr) date = to_atm(local);
}

// Gives a count that nothing has claimed to the first of day, month and year that is missing and may have that value.
void settle_number(Reading& reading) noexcept {
  const int number = std::exchange(reading.number, 0);
  atm& date = reading.date;
  if (number == 0) return;
  if (number <= 31 && date.tm_mday < 0) {
    date.tm_mday = number;
  } else if (number <= 12 && date.tm_mon < 0) {
    date.tm_mon = number - 1;
  } else if (date.tm_year < 0) {
    if (number >= 1970 && number < 2100) {
      date.tm_year = number - 1900;
    } else if (number >= 70 && number < 100) {
      date.tm_year = number;
    } else if (number <= 37) {
      date.tm_year = number + 100;
    }
  }
}

void set_time(atm& date, int hour) noexcept {
  date.tm_hour = hour;
  date.tm_min = 0;
  date.tm_sec = 0;
}

// The latest `hour` o'clock that has begun.
void go_back_to(int hour, atm& date, const atm& now) noexcept {
  if (date.tm_hour < hour) update_atm(date, now, seconds_a_day);
  set_time(date, hour);
}

// Sets the hour to that of a clock of twelve hours: the number before the word, or else the hour so far.
void set_half_day(int first_hour, atm& date, int& number) noexcept {
  const int given = std::exchange(number, 0);
  if (given != 0) set_time(date, given);
  date.tm_hour = date.tm_hour % 12 + first_hour;
}

// What the special words do to the date that is being read. `now` is the current local time, `number` a count
// that the text has named without saying of what, 0 for none.

void date_yesterday(atm& date, const atm& now, int&) noexcept { update_atm(date, now, seconds_a_day); }

void date_noon(atm& date, const atm& now, int&) noexcept { go_back_to(12, date, now); }

void date_midnight(atm& date, const atm& now, int&) noexcept { go_back_to(0, date, now); }

void date_tea(atm& date, const atm& now, int&) noexcept { go_back_to(17, date, now); }

void date_pm(atm& date, const atm&, int& number) noexcept { set_half_day(12, date, number); }

void date_am(atm& date, const atm&, int& number) noexcept { set_half_day(0, date, number); }

void date_never(atm& date, const atm&, int&) noexcept {
  const time_t epoch = 0;
  tm local{};
  if (::localtime_r(&epoch, &local) != nullptr) date = to_atm(local);
}

void date_now(atm& date, const atm& now, int&) noexcept { update_atm(date, now, 0); }

struct SpecialWord {
  const char* word;
  void (*apply)(atm& date, const atm& now, int& number) noexcept;
};

constexpr auto special_words = std::to_array<SpecialWord>({
    {"yesterday", date_yesterday},
    {"noon", date_noon},
    {"midnight", date_midnight},
    {"tea", date_tea},
    {"PM", date_pm},
    {"AM", date_am},
    {"never", date_never},
    {"now", date_now},
});

struct Count {
  const char* word;
  int number;
};

constexpr auto counts = std::to_array<Count>({
    {"one", 1},
    {"two", 2},
    {"three", 3},
    {"four", 4},
    {"five", 5},
    {"six", 6},
    {"seven", 7},
    {"eight", 8},
    {"nine", 9},
    {"ten", 10},
    {"last", 1},
});

struct Unit {
  const char* word;
  std::int64_t seconds;
};

constexpr auto units = std::to_array<Unit>({
    {"seconds", 1},
    {"minutes", 60},
    {"hours", 3600},
    {"days", seconds_a_day},
    {"weeks", 7 * seconds_a_day},
});

bool matches_in_full(const char* at, const char* word) noexcept {
  const int length = match_word(at, word);
  return length > 0 && word[length] == '\0';
}

// In full, or without the "s" of the plural.
bool matches_unit(const char* at, const char* word) noexcept {
  const int length = match_word(at, word);
  return length > 0 && (word[length] == '\0' || word[length + 1] == '\0');
}

// The readers of words try one kind each and answer whether the word was of that kind.

bool take_month(const char* at, Reading& reading) noexcept {
  const WordMatch month = match_month(at);
  if (month) reading.date.tm_mon = month.value;
  return static_cast<bool>(month);
}

bool take_special(const char* at, Reading& reading) {
  for (const SpecialWord& special : special_words) {
    if (!matches_in_full(at, special.word)) continue;
    special.apply(reading.date, reading.now, reading.number);
    return true;
  }
  return false;
}

bool take_count(const char* at, Reading& reading) noexcept {
  for (const Count& count : counts) {
    if (!matches_in_full(at, count.word)) continue;
    reading.number = count.number;
    return true;
  }
  return false;
}

void go_back(Reading& reading, std::int64_t seconds) noexcept {
  update_atm(reading.date, reading.now, seconds);
  reading.number = 0;
}

bool take_unit(const char* at, Reading& reading) noexcept {
  for (const Unit& unit : units) {
    if (!matches_unit(at, unit.word)) continue;
    go_back(reading, unit.seconds * reading.number);
    return true;
  }
  return false;
}

// One friday back is the last one before today, on a friday that of the week before.
bool take_weekday(const char* at, Reading& reading) noexcept {
  const WordMatch weekday = match_weekday(at);
  if (!weekday) return false;
  const int days_since = reading.date.tm_wday - weekday.value;
  const std::int64_t weeks = reading.number - (days_since > 0 ? 1 : 0);
  go_back(reading, (7 * weeks + days_since) * seconds_a_day);
  return true;
}

// The day of the month stays, whether the month has it or not: 31 March less a month comes out in March again.
bool take_months(const char* at, Reading& reading) noexcept {
  if (!matches_unit(at, "months")) return false;
  const std::int64_t count = reading.number;
  go_back(reading, 0);
  atm& date = reading.date;
  const std::int64_t month = date.tm_mon - count;
  const std::int64_t years = month < 0 ? (11 - month) / 12 : 0;
  date.tm_mon = saturate(month + 12 * years);
  date.tm_year = saturate(date.tm_year - years);
  return true;
}

bool take_years(const char* at, Reading& reading) noexcept {
  if (!matches_unit(at, "years")) return false;
  const std::int64_t count = reading.number;
  go_back(reading, 0);
  reading.date.tm_year = saturate(reading.date.tm_year - count);
  return true;
}

// Units and weekdays need a count before them: "monday" alone may be any.
bool take_word(const char* at, Reading& reading) {
  if (take_month(at, reading) || take_special(at, reading)) return true;
  if (reading.number == 0) return take_count(at, reading);
  return take_unit(at, reading) || take_weekday(at, reading) || take_months(at, reading) || take_years(at, reading);
}

const char* take_number(const char* at, Reading& reading, const Clock& clock) noexcept {
  settle_number(reading);
  const char* end = at;
  const unsigned long number = read_unsigned(end);
  if (const char* const after = read_number_group(number, end, reading.date, clock)) return after;
  const bool padded = *at == '0' && end - at >= 3;
  if (!padded) reading.number = saturate(saturate_unsigned(number));
  return end;
}

// Walks the text; false when nothing in it was understood.
bool read_text(const char* at, Reading& reading, const Clock& clock) {
  bool understood = false;
  while (*at != '\0') {
    if (is_digit(*at)) {
      at = take_number(at, reading, clock);
      understood = true;
    } else if (is_letter(*at)) {
      understood |= take_word(at, reading);
      while (is_letter(*at)) ++at;
    } else {
      ++at;
    }
  }
  settle_number(reading);
  return understood;
}

std::optional<time_t> read_relative(const char* text, const Clock& clock) {
  const timeval instant = clock.now();
  const time_t seconds = instant.tv_sec;
  tm local{};
  ::tzset();
  if (::localtime_r(&seconds, &local) == nullptr) return std::nullopt;
  Reading reading{.date = to_atm(local), .now = to_atm(local)};
  reading.date.tm_mday = -1;
  reading.date.tm_mon = -1;
  reading.date.tm_year = -1;
  reading.date.tm_usec = instant.tv_usec;
  if (!read_text(text, reading, clock)) return std::nullopt;
  return complete(reading.date, reading.now);
}

}  // namespace

int approxidate_at(const char* text, tm* result, const Clock& clock) noexcept {
  if (text == nullptr) text = "";
  timeval exact{};
  std::optional<time_t> instant;
  if (parse_date_at(text, &exact, nullptr, clock) == 0) {
    instant = exact.tv_sec;
  } else {
    instant = read_relative(text, clock);
  }
  tm utc{};
  if (!instant || ::gmtime_r(&*instant, &utc) == nullptr) return -1;
  if (result != nullptr) *result = utc;
  return 0;
}

}  // namespace localdisk

int approxidate(const char* text, tm* result) { return localdisk::approxidate_at(text, result, localdisk::Clock()); }

std::string convert_last_modified_to_rfc3339(std::string text) {
  tm utc{};
  if (approxidate(text.c_str(), &utc) != 0) return {};
  const auto field = [](int value) { return static_cast<unsigned short>(value); };
  std::array<char, 32> buffer;
  const int length =
      std::snprintf(buffer.data(), buffer.size(), "%04hu-%02hu-%02huT%02hu:%02hu:%02hu.%03huZ",
                    field(localdisk::saturate(utc.tm_year + 1900L)), field(utc.tm_mon + 1), field(utc.tm_mday),
                    field(utc.tm_hour), field(utc.tm_min), field(utc.tm_sec), field(0));
  return {buffer.data(), std::min(static_cast<std::size_t>(length), buffer.size() - 1)};
}
