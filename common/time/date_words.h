// The words that dates are written with, and how a text is held against them.
#pragma once

// How many characters of `input` spell `word`, whatever their case. An abbreviation counts too, if the word
// of the input ends with it: against "Mondays", "Mon," gives 3, "MONDAY" 6, and "Mondaysx" or "Mon7" 0.
int match_word(const char* input, const char* word) noexcept;

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
