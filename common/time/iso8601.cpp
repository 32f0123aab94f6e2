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
#include <sstream>
#include <string>

#include "common/time/date_text.h"

namespace {

using Microseconds = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

constexpr std::ptrdiff_t longest_seconds =
    9;  // characters that the library takes: two, the dot, microseconds

// A stream swallows whatever is thrown while it reads and only turns bad, exhausted memory included, unless
// its mask says otherwise. The mask is the caller's, so it is borrowed; putting it back throws what it asked
// for itself.
std::string next_word(std::istream& in) {
  std::string word;
  const std::ios_base::iostate mask = in.exceptions();
  if (!in.bad()) in.exceptions(mask | std::ios_base::badbit);
  try {
    in >> word;
  } catch (const std::bad_alloc&) {
    in.exceptions(mask);
    throw;
  } catch (const std::exception&) {
    // Any other failure reads like the end of the stream.
  }
  in.exceptions(mask);
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

}  // namespace

time_t parse8601(std::istream&& in) {
  const std::string word = next_word(in);
  if (!is_safe(word)) return 0;
  std::istringstream text = stream_over(word);
  Microseconds instant{};
  date::from_stream(text, "%FT%TZ", instant);
  if (text.fail()) {
    text.clear();
    text.str(word);
    date::from_stream(text, "%FT%T%Ez", instant);
  }
  // The system clock's own conversion goes through nanoseconds on some systems, whose range ends in 2262.
  return std::chrono::duration_cast<std::chrono::seconds>(instant.time_since_epoch()).count();
}

time_t RFC3339ToLocalTM(const char* text) {
  return parse8601(stream_over(text == nullptr ? "" : text));
}
