#include "common/time/iso8601_word.h"

// date.h passes seconds on before checking that they were parsed; is_safe guarantees that they were.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <date/date.h>

#include <chrono>
#include <cstddef>
#include <cstring>
#include <locale>
#include <optional>
#include <sstream>
#include <string>

#include "common/text/ascii.h"

namespace localdisk {
namespace {

using Microseconds = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

constexpr std::ptrdiff_t longest_seconds = 9;  // characters that the library takes: two, the dot, microseconds

// Numbers are read by the stream's locale, and the process's may have a comma before its fractions.
std::istringstream stream_over(const std::string& text) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  return in;
}

Microseconds read_by_library(const std::string& word) {
  std::istringstream text = stream_over(word);
  Microseconds instant{};
  date::from_stream(text, "%FT%TZ", instant);
  if (text.fail()) {
    text.clear();
    text.str(word);
    date::from_stream(text, "%FT%T%Ez", instant);
  }
  return instant;
}

// Whether `text` begins like `shape`, in which a "0" stands for any digit.
bool has_shape(std::string_view text, std::string_view shape) noexcept {
  if (text.size() < shape.size()) return false;
  for (std::size_t i = 0; i < shape.size(); ++i) {
    if (shape[i] == '0' ? !is_digit(text[i]) : text[i] != shape[i]) return false;
  }
  return true;
}

// The number that `count` digits of `text` from `at` on make.
int number_at(std::string_view text, std::size_t at, std::size_t count) noexcept {
  int value = 0;
  for (const char digit : text.substr(at, count)) value = value * 10 + (digit - '0');
  return value;
}

// Takes a dot and one to six digits from the front of `text`; nothing when there is no digit.
std::optional<std::chrono::microseconds> take_fraction(std::string_view& text) noexcept {
  text.remove_prefix(1);
  int value = 0;
  std::size_t count = 0;
  for (int place = 100'000; place > 0 && count < text.size() && is_digit(text[count]); place /= 10) {
    value += (text[count++] - '0') * place;
  }
  text.remove_prefix(count);
  return count == 0 ? std::nullopt : std::optional(std::chrono::microseconds(value));
}

// Reads words of exactly the usual shape, "YYYY-MM-DDTHH:MM:SS[.ffffff](Z|+HH:MM|-HH:MM)", by the library's calendar
// but without its stream, whose construction and locale cost twenty times as much. Everything else, with all that is
// no valid date or time, is left to the library's own reader.
std::optional<Microseconds> read_usual(std::string_view word) {
  constexpr std::string_view shape = "0000-00-00T00:00:00";
  if (!has_shape(word, shape)) return std::nullopt;
  const date::year_month_day date{date::year(number_at(word, 0, 4)),
                                  date::month(static_cast<unsigned>(number_at(word, 5, 2))),
                                  date::day(static_cast<unsigned>(number_at(word, 8, 2)))};
  const std::chrono::hours hour(number_at(word, 11, 2));
  const std::chrono::minutes minute(number_at(word, 14, 2));
  const std::chrono::seconds second(number_at(word, 17, 2));
  if (!date.ok() || hour >= std::chrono::hours(24) || minute >= std::chrono::hours(1) ||
      second >= std::chrono::minutes(1)) {
    return std::nullopt;
  }

  std::string_view rest = word.substr(shape.size());
  std::optional<std::chrono::microseconds> fraction(0);
  if (rest.starts_with('.')) fraction = take_fraction(rest);
  if (!fraction) return std::nullopt;

  std::chrono::minutes east{0};
  if (rest != "Z") {
    if (rest.size() != 6 || (rest[0] != '+' && rest[0] != '-') || !has_shape(rest.substr(1), "00:00")) {
      return std::nullopt;
    }
    const std::chrono::hours hours_east(number_at(rest, 1, 2));
    const std::chrono::minutes minutes_east(number_at(rest, 4, 2));
    if (hours_east >= std::chrono::hours(24) || minutes_east >= std::chrono::hours(1)) return std::nullopt;
    east = rest[0] == '-' ? -(hours_east + minutes_east) : hours_east + minutes_east;
  }
  return date::sys_days(date) + hour + minute + second + *fraction - east;
}

}  // namespace

bool is_safe(const std::string& word) noexcept {
  const char* at = std::strchr(word.c_str(), 'T');
  if (at == nullptr) return false;
  for (int colon = 0; colon < 2; ++colon) {
    ++at;
    if (!is_digit(*at)) return false;
    at += is_digit(at[1]) ? 2 : 1;
    if (*at != ':') return false;
  }
  const char* const seconds = ++at;
  for (bool dot = false; at - seconds < longest_seconds; ++at) {
    if (!is_digit(*at) && (*at != '.' || dot)) break;
    dot |= *at == '.';
  }
  return at != seconds && (*at != '-' || is_digit(at[1]));
}

time_t instant_of_word(std::string_view word) {
  std::optional<Microseconds> instant = read_usual(word);
  if (!instant) {
    const std::string text(word);
    if (is_safe(text)) instant = read_by_library(text);
  }
  if (!instant) return 0;
  // The system clock's own conversion goes through nanoseconds on some systems, whose range ends in 2262.
  return std::chrono::duration_cast<std::chrono::seconds>(instant->time_since_epoch()).count();
}

}  // namespace localdisk
