#include "common/time/date_words.h"

#include <array>
#include <span>

#include "common/text/ascii.h"

namespace localdisk {
namespace {

constexpr int shortest_abbreviation = 3;

constexpr auto month_names = std::to_array<const char*>({
    "January",
    "February",
    "March",
    "April",
    "May",
    "June",
    "July",
    "August",
    "September",
    "October",
    "November",
    "December",
});

// In the plural, of which the singular is an abbreviation.
constexpr auto weekday_names = std::to_array<const char*>({
    "Sundays",
    "Mondays",
    "Tuesdays",
    "Wednesdays",
    "Thursdays",
    "Fridays",
    "Saturdays",
});

struct Zone {
  const char* name;
  int hours;   // east of UTC, by standard time
  int summer;  // hours that summer time adds
};

// Some names stand for several zones in the world, here each stands for one. A text that states its offset in
// figures overrides its name.
constexpr auto zones = std::to_array<Zone>({
    {"IDLW", -12, 0}, {"NT", -11, 0},  {"CAT", -10, 0}, {"HST", -10, 0}, {"HDT", -10, 1}, {"YST", -9, 0},
    {"YDT", -9, 1},   {"PST", -8, 0},  {"PDT", -8, 1},  {"MST", -7, 0},  {"MDT", -7, 1},  {"CST", -6, 0},
    {"CDT", -6, 1},   {"EST", -5, 0},  {"EDT", -5, 1},  {"AST", -3, 0},  {"ADT", -3, 1},  {"WAT", -1, 0},
    {"GMT", 0, 0},    {"UTC", 0, 0},   {"Z", 0, 0},     {"WET", 0, 0},   {"BST", 0, 1},   {"CET", 1, 0},
    {"MET", 1, 0},    {"MEWT", 1, 0},  {"MEST", 1, 1},  {"CEST", 1, 1},  {"MESZ", 1, 1},  {"FWT", 1, 0},
    {"FST", 1, 1},    {"EET", 2, 0},   {"EEST", 2, 1},  {"WAST", 7, 0},  {"WADT", 7, 1},  {"CCT", 8, 0},
    {"JST", 9, 0},    {"EAST", 10, 0}, {"EADT", 10, 1}, {"GST", 10, 0},  {"NZT", 12, 0},  {"NZST", 12, 0},
    {"NZDT", 12, 1},  {"IDLE", 12, 0},
});

constexpr char case_bit = 0x20;

constexpr bool same_letter(char a, char b) noexcept {
  return is_letter(a) && is_letter(b) && (a | case_bit) == (b | case_bit);
}

WordMatch match_name(const char* input, std::span<const char* const> names) noexcept {
  int value = 0;
  for (const char* name : names) {
    const int length = match_word(input, name);
    if (length >= shortest_abbreviation) return {.value = value, .length = length};
    ++value;
  }
  return {};
}

}  // namespace

int match_rest(const char* input, const char* word) noexcept {
  int length = 0;
  for (; input[length] != '\0'; ++length) {
    const char c = input[length];
    if (c == word[length] || same_letter(c, word[length])) continue;
    return is_letter(c) || is_digit(c) ? 0 : length;
  }
  return length;
}

WordMatch match_month(const char* input) noexcept { return match_name(input, month_names); }

WordMatch match_weekday(const char* input) noexcept { return match_name(input, weekday_names); }

WordMatch match_zone(const char* input) noexcept {
  for (const Zone& zone : zones) {
    const int length = match_word(input, zone.name);
    const bool in_full = length > 0 && zone.name[length] == '\0';
    if (!in_full && length < shortest_abbreviation) continue;
    return {.value = (zone.hours + zone.summer) * 60, .length = length};
  }
  return {};
}

}  // namespace localdisk
