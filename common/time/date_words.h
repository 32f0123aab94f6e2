// The words that dates are written with, and how a text is held against them.
#pragma once

namespace localdisk {

// match_word once the first letters are known to be alike.
int match_rest(const char* input, const char* word) noexcept;

// How many characters of `input` spell `word`, whatever their case. An abbreviation counts too, if the word
// of the input ends with it: against "Mondays", "Mon," gives 3, "MONDAY" 6, and "Mondaysx" or "Mon7" 0.
//
// Nearly all words that an input is held against differ in the first letter: looking at it in place makes reading a
// date twice as fast. Every word begins with a letter, so a character that differs from it in nothing but the bit for
// the case is a letter too.
inline int match_word(const char* input, const char* word) noexcept {
  constexpr int case_bit = 0x20;
  return (*input | case_bit) == (*word | case_bit) ? match_rest(input, word) : 0;
}

struct WordMatch {
  int value = 0;
  int length = 0;  // characters of the input that were matched; 0 when no word was

  explicit operator bool() const noexcept { return length > 0; }
};

// The month, from 0, or the weekday, from 0 for Sunday, that `input` begins with: its name or three letters
// of it and more. Weekdays may stand in the plural.
WordMatch match_month(const char* input) noexcept;
WordMatch match_weekday(const char* input) noexcept;

// The time zone that `input` begins with, as minutes east of UTC: its name, or three letters of it and more.
WordMatch match_zone(const char* input) noexcept;

}  // namespace localdisk
