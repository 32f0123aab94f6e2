#include "host/cli/date_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <vector>

#include "host/client/errors.h"

namespace host {
namespace {

[[noreturn]] void refuse(const std::string& text, std::string_view why) {
  throw UsageError(fmt::format("can't take '{}' for a time: {}", text, why));
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// Whether a clock can show the fields.
bool is_possible(const tm& fields) {
  tm shown = fields;
  const time_t reading = ::timegm(&shown);
  ::gmtime_r(&reading, &shown);
  return shown.tm_mday == fields.tm_mday && shown.tm_mon == fields.tm_mon && shown.tm_hour == fields.tm_hour &&
         shown.tm_min == fields.tm_min && shown.tm_sec == fields.tm_sec;
}

// "Z" or "+05:30" in seconds; nothing where it is neither.
std::optional<time_t> read_offset(std::string_view text) {
  if (text == "Z" || text == "z") return 0;
  const std::string copy(text);
  int hours = 0, minutes = 0, end = 0;
  if (std::sscanf(copy.c_str(), "%*1[+-]%2d:%2d%n", &hours, &minutes, &end) != 2 || end != 6 || copy.size() != 6 ||
      hours > 23 || minutes > 59 || !is_digit(copy[1]) || !is_digit(copy[4])) {
    return std::nullopt;
  }
  const time_t size = hours * 3600 + minutes * 60;
  return copy[0] == '-' ? -size : size;
}

// RFC 3339, or the same without an offset. Nothing where the text has another form.
std::optional<time_t> read_timestamp(const std::string& text) {
  constexpr std::string_view form = "dddd-dd-ddTdd:dd:dd";
  if (text.size() < form.size()) return std::nullopt;
  for (std::size_t at = 0; at < form.size(); ++at) {
    const bool fits = form[at] == 'd'   ? is_digit(text[at])
                      : form[at] == 'T' ? text[at] == 'T' || text[at] == 't' || text[at] == ' '
                                        : text[at] == form[at];
    if (!fits) return std::nullopt;
  }
  std::string_view rest = std::string_view(text).substr(form.size());
  if (rest.size() > 1 && rest[0] == '.' && is_digit(rest[1])) {  // the drive keeps whole seconds
    rest.remove_prefix(1);
    while (!rest.empty() && is_digit(rest[0])) rest.remove_prefix(1);
  }
  const auto number = [&](std::size_t at, std::size_t digits) { return std::atoi(text.substr(at, digits).c_str()); };
  tm fields{};
  fields.tm_year = number(0, 4) - 1900;
  fields.tm_mon = number(5, 2) - 1;
  fields.tm_mday = number(8, 2);
  fields.tm_hour = number(11, 2);
  fields.tm_min = number(14, 2);
  fields.tm_sec = number(17, 2);
  if (!is_possible(fields)) refuse(text, "no clock ever shows that");
  if (rest.empty()) {
    tm local = fields;
    local.tm_isdst = -1;
    const time_t instant = ::mktime(&local);
    if (local.tm_hour != fields.tm_hour || local.tm_min != fields.tm_min) refuse(text, "the local clock skipped it");
    return instant;
  }
  const std::optional<time_t> offset = read_offset(rest);
  if (!offset) refuse(text, fmt::format("'{}' is no offset; Z or +02:00 would be", rest));
  return ::timegm(&fields) - *offset;
}

bool equal(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char a, char b) { return std::tolower(a) == std::tolower(b); });
}

// Whether `word` is the beginning of one of `names`, at least so long; which one, else -1.
template <std::size_t count>
int find_beginning(const std::array<std::string_view, count>& names, std::string_view word, std::size_t least) {
  for (std::size_t at = 0; at < count; ++at) {
    if (word.size() >= least && equal(word, names[at].substr(0, word.size()))) return static_cast<int>(at);
  }
  return -1;
}

constexpr std::array<std::string_view, 12> months{"january",   "february", "march",    "april",
                                                  "may",       "june",     "july",     "august",
                                                  "september", "october",  "november", "december"};
constexpr std::array<std::string_view, 7> weekdays{"sundays",   "mondays", "tuesdays", "wednesdays",
                                                   "thursdays", "fridays", "saturdays"};
constexpr std::array<std::string_view, 7> units{"seconds", "minutes", "hours", "days", "weeks", "months", "years"};
constexpr std::array<std::string_view, 6> times_of_day{"noon", "midnight", "tea", "now", "never", "yesterday"};
constexpr std::array<std::string_view, 11> counts{"one",   "two",   "three", "four", "five", "six",
                                                  "seven", "eight", "nine",  "ten",  "last"};
constexpr std::array<std::string_view, 3> fillers{"ago", "at", "on"};

bool is_one_of(const auto& names, std::string_view word) {
  return std::any_of(names.begin(), names.end(), [&](std::string_view name) { return equal(name, word); });
}

// Goes through the words and numbers of a text that the module's readers took for `instant`. They skip what they
// don't know and carry over what is impossible, so each part has to be a word with a meaning there, or to show in
// what they read.
class Understanding {
 public:
  Understanding(const std::string& text, const std::optional<StrictDate>& strict, time_t instant)
      : text_(text), strict_(strict), instant_(instant) {
    if (strict) {
      const time_t shown = instant + time_t{strict->offset_minutes} * 60;
      ::gmtime_r(&shown, &shown_);
    } else {
      ::localtime_r(&instant, &shown_);
    }
  }

  void expect_all() {
    for (std::size_t at = 0; at < text_.size();) {
      std::size_t end = at;
      const auto is_part = is_digit(text_[at]) ? is_digit : is_letter;
      while (end < text_.size() && is_part(text_[end])) ++end;
      if (end == at) {
        ++at;
        continue;
      }
      const std::string part = text_.substr(at, end - at);
      is_digit(part[0]) ? take_number(part, at, end) : take_word(part, at);
      at = end;
    }
    for (const std::string& number : pending_) expect_shown(number);
  }

 private:
  void take_number(const std::string& number, std::size_t at, std::size_t end) {
    const char before = at > 0 ? text_[at - 1] : ' ';
    const bool is_fraction =
        before == '.' && at > 2 && text_.rfind(':', at) != std::string::npos && at - text_.rfind(':', at) <= 3;
    const bool is_offset = strict_ && (before == '+' || before == '-') && (number.size() == 4 || text_[end] == ':') &&
                           text_.find(':') < at;
    const bool is_rest_of_offset = offset_ends_ == at && before == ':';
    if (is_offset && end < text_.size() && text_[end] == ':') offset_ends_ = end + 1;
    if (!is_fraction && !is_offset && !is_rest_of_offset) pending_.push_back(number);
  }

  void take_word(const std::string& word, std::size_t at) {
    if (const int month = find_beginning(months, word, 3); month >= 0) {
      if (month != shown_.tm_mon) refuse(text_, fmt::format("there is no such day in '{}'", word));
    } else if (const int weekday = find_beginning(weekdays, word, 3); weekday >= 0) {
      take_count(word, strict_ && weekday == shown_.tm_wday);
    } else if (find_beginning(units, word, 3) >= 0) {
      take_count(word, false);
    } else if (is_one_of(counts, word)) {
      counted_ = true;
    } else if (!is_understood(word, at)) {
      refuse(text_, fmt::format("'{}' is not understood", word));
    }
  }

  // Words that the readers know and that show nowhere in the result by themselves.
  [[nodiscard]] bool is_understood(const std::string& word, std::size_t at) const {
    const bool follows_digit = at > 0 && is_digit(text_[at - 1]);
    return equal(word, "am") || equal(word, "pm") || is_one_of(times_of_day, word) || is_one_of(fillers, word) ||
           (follows_digit && (equal(word, "st") || equal(word, "nd") || equal(word, "rd") || equal(word, "th"))) ||
           (strict_ && (equal(word, "t") || equal(word, "z") ||
                        (word.size() >= 2 && word.size() <= 4 && at > 4 && is_zone(word))));
  }

  // Weekdays and units need a number before them, which then isn't one of the date.
  void take_count(const std::string& word, bool has_meaning_alone) {
    if (has_meaning_alone) return;
    if (!counted_ && pending_.empty()) refuse(text_, fmt::format("'{}' is not understood without a count", word));
    if (!counted_) pending_.pop_back();
    counted_ = false;
  }

  static bool is_zone(const std::string& word) {
    return std::all_of(word.begin(), word.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
  }

  void expect_shown(const std::string& number) const {
    const long long value = std::atoll(number.c_str());
    const int year = shown_.tm_year + 1900;
    const std::array<long long, 9> parts{year,           year % 100,     shown_.tm_mon + 1,
                                         shown_.tm_mday, shown_.tm_hour, shown_.tm_hour % 12,
                                         shown_.tm_min,  shown_.tm_sec,  static_cast<long long>(instant_)};
    const bool noon = value == 12 && shown_.tm_hour % 12 == 0;
    if (noon || std::find(parts.begin(), parts.end(), value) != parts.end()) return;
    refuse(text_,
           fmt::format("'{}' doesn't fit: there is no such day or hour, or none that the module's reader knows",
                       number));
  }

  const std::string& text_;
  const std::optional<StrictDate>& strict_;
  time_t instant_;
  tm shown_{};
  std::vector<std::string> pending_;
  bool counted_ = false;
  std::size_t offset_ends_ = std::string::npos;
};

// The module's reader takes what is no time of day for parts of a date: "12:99" for a day in 1999.
void expect_times_of_day(const std::string& text) {
  for (std::size_t colon = text.find(':'); colon != std::string::npos; colon = text.find(':', colon + 1)) {
    if (colon == 0 || !is_digit(text[colon - 1]) || !is_digit(text[colon + 1])) continue;
    std::size_t start = colon;
    while (start > 0 && is_digit(text[start - 1])) --start;
    const bool is_hour = start == 0 || text[start - 1] != ':';
    const bool fits = std::atoll(&text[start]) <= (is_hour ? 24 : 59) && std::atoll(&text[colon + 1]) <= 60;
    if (!fits) refuse(text, fmt::format("'{}' is no time of day", text.substr(start, text.find(' ', start) - start)));
  }
}

}  // namespace

time_t read_date(const ModuleFunctions& functions, const std::string& text) {
  if (const std::optional<time_t> exact = read_timestamp(text)) return *exact;
  expect_times_of_day(text);
  const std::optional<time_t> instant = functions.approximate_date(text);
  if (!instant) refuse(text, "nothing in it is a date; 2024-05-31T12:00:00Z or 'yesterday 5pm' would be");
  const std::optional<StrictDate> strict = functions.strict_date(text);
  Understanding(text, strict, *instant).expect_all();
  return *instant;
}

}  // namespace host
