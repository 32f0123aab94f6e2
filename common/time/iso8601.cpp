#include "common/time/iso8601.h"

// The library's reader of %T hands its seconds on before it looks whether they were read. What is given to it
// here always has them, see is_safe; the compiler can't know.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include <date/date.h>

#include <chrono>
#include <cstddef>
#include <cstring>
#include <locale>
#include <new>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include "common/time/date_text.h"

namespace {

using localdisk::is_digit;

using Microseconds = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

constexpr std::ptrdiff_t longest_seconds = 9;  // characters that the library takes: two, the dot, microseconds

// A stream swallows whatever is thrown while it reads and only turns bad, exhausted memory included, unless
// its mask says otherwise. The mask is the caller's, so it is borrowed; putting it back throws what it asked
// for itself.
std::string next_word(std::istream& in) {
  std::string word;
  const std::ios_base::iostate mask = in.exceptions();
  if (!in.bad()) in.exceptions(mask | std::ios_base::badbit);
  bool is_broken = false;
  try {
    in >> word;
  } catch (const std::bad_alloc&) {
    in.exceptions(mask);
    throw;
  } catch (...) {
    is_broken = true;  // reads like the end of the stream, and is seen in its state
  }
  in.exceptions(mask);
  if (is_broken) in.setstate(std::ios_base::badbit);  // not every library does so when the first character throws
  return word;
}

// Refuses the words, all of them invalid, with which the library would compute before it notices: seconds
// that were never set, as anything but hour, minute and a first character of seconds follows the "T"; and the
// negative of the least offset there is, as a "-" without a figure stands in the offset's place.
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

// Takes figures and separators from the front of a text; after the first that doesn't fit, nothing fits any more.
class Shape {
 public:
  explicit Shape(std::string_view text) : rest_(text) {}

  int figures(std::size_t count) {
    int value = 0;
    for (; count > 0; --count) value = value * 10 + next_figure();
    return value;
  }
  void separator(char c) {
    if (!skip(c)) fits_ = false;
  }
  bool skip(char c) {
    if (!rest_.starts_with(c)) return false;
    rest_.remove_prefix(1);
    return true;
  }
  [[nodiscard]] bool at_figure() const { return !rest_.empty() && is_digit(rest_.front()); }
  [[nodiscard]] bool fits_to_the_end() const { return fits_ && rest_.empty(); }

 private:
  int next_figure() {
    if (!at_figure()) {
      fits_ = false;
      return 0;
    }
    const int figure = rest_.front() - '0';
    rest_.remove_prefix(1);
    return figure;
  }

  std::string_view rest_;
  bool fits_ = true;
};

// Reads words of exactly the usual shape, "YYYY-MM-DDTHH:MM:SS[.ffffff](Z|+HH:MM|-HH:MM)", by the library's calendar
// but without its stream, whose construction and locale cost twenty times as much. Everything else, with all that is
// no valid date or time, is left to the library's own reader.
std::optional<Microseconds> read_usual(std::string_view word) {
  Shape shape(word);
  const date::year year(shape.figures(4));
  shape.separator('-');
  const date::month month(static_cast<unsigned>(shape.figures(2)));
  shape.separator('-');
  const date::day day(static_cast<unsigned>(shape.figures(2)));
  shape.separator('T');
  const std::chrono::hours hour(shape.figures(2));
  shape.separator(':');
  const std::chrono::minutes minute(shape.figures(2));
  shape.separator(':');
  const std::chrono::seconds second(shape.figures(2));
  std::chrono::microseconds fraction{0};
  if (shape.skip('.')) {
    fraction = std::chrono::microseconds(shape.figures(1) * 100'000);
    for (int place = 10'000; place > 0 && shape.at_figure(); place /= 10)
      fraction += std::chrono::microseconds(shape.figures(1) * place);
  }
  std::chrono::minutes east{0};
  if (!shape.skip('Z')) {
    const bool west = shape.skip('-');
    if (!west) shape.separator('+');
    const std::chrono::hours whole(shape.figures(2));
    shape.separator(':');
    east = whole + std::chrono::minutes(shape.figures(2));
    if (east - whole >= std::chrono::hours(1) || whole >= std::chrono::hours(24)) return std::nullopt;
    if (west) east = -east;
  }
  const date::year_month_day date{year, month, day};
  if (!shape.fits_to_the_end() || !date.ok()) return std::nullopt;
  if (hour >= std::chrono::hours(24) || minute >= std::chrono::hours(1) || second >= std::chrono::minutes(1))
    return std::nullopt;
  return date::sys_days(date) + hour + minute + second + fraction - east;
}

time_t instant_of(const std::string& word) {
  std::optional<Microseconds> instant = read_usual(word);
  if (!instant && is_safe(word)) instant = read_by_library(word);
  if (!instant) return 0;
  // The system clock's own conversion goes through nanoseconds on some systems, whose range ends in 2262.
  return std::chrono::duration_cast<std::chrono::seconds>(instant->time_since_epoch()).count();
}

}  // namespace

time_t parse8601(std::istream&& in) { return instant_of(next_word(in)); }

time_t RFC3339ToLocalTM(const char* text) {
  constexpr const char* white_space = " \t\n\v\f\r";
  if (text == nullptr) return 0;
  text += std::strspn(text, white_space);
  return instant_of(std::string(text, std::strcspn(text, white_space)));
}
