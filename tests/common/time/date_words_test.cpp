#include "common/time/date_words.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <string>
#include <tuple>
#include <utility>

#include "common/time/atm.h"
#include "common/time/date_text.h"
#include "tests/common/time/instants.h"

using namespace localdisk;

TEST(DateWords, MatchAsFarAsTheWordOfTheInputGoes) {
  using Row = std::pair<int, const char*>;
  for (const auto& [length, input] : std::to_array<Row>({{3, "Mon"},
                                                         {6, "Monday"},
                                                         {6, "mONDAY-"},
                                                         {7, "MONDAYS,"},
                                                         {0, "Mondaysx"},
                                                         {0, "Mon7"},
                                                         {3, "Mon\xC3\xA9"},
                                                         {0, ""},
                                                         {0, "-"}})) {
    EXPECT_EQ(match_word(input, "Mondays"), length) << input;
  }
}

TEST(DateWords, KnowMonthsWeekdaysAndZones) {
  using Match = WordMatch (*)(const char*) noexcept;
  using Row = std::tuple<Match, const char*, int, int>;
  for (const auto& [match, input, value, length] : std::to_array<Row>(
           {{match_month, "Jan", 0, 3},        {match_month, "DECEMBER 1", 11, 8}, {match_month, "Sept.", 8, 4},
            {match_month, "Ju", 0, 0},         {match_month, "Mayor", 0, 0},       {match_weekday, "sun", 0, 3},
            {match_weekday, "Tuesdays", 2, 8}, {match_weekday, "Sat,", 6, 3},      {match_weekday, "Th", 0, 0},
            {match_zone, "CEST", 120, 4},      {match_zone, "EST", -300, 3},       {match_zone, "edt", -240, 3},
            {match_zone, "AST", -180, 3},      {match_zone, "CAT", -600, 3},       {match_zone, "IDLW", -720, 4},
            {match_zone, "IDL", -720, 3},  // the first of that beginning
            {match_zone, "NZDT", 780, 4},      {match_zone, "NT", -660, 2},        {match_zone, "Z", 0, 1},
            {match_zone, "zulu", 0, 0},        {match_zone, "PS", 0, 0},           {match_zone, "GMT+1", 0, 3}})) {
    const WordMatch found = match(input);
    EXPECT_EQ(found.length, length) << input;
    EXPECT_EQ(found.value, value) << input;
  }
}

TEST(DateText, NumbersSaturateAndBringTheirOwnSpaceAndSign) {
  using Row = std::tuple<long, unsigned long, std::string>;
  for (const auto& [as_signed, as_unsigned, text] :
       std::to_array<Row>({{71, 71, "0071"},
                           {71, 71, " \t\n\v\f\r+71"},
                           {-5, ULONG_MAX - 4, "-5"},
                           {0, 0, "-0"},
                           {0, 0, ""},
                           {LONG_MAX, 1UL + LONG_MAX, "9223372036854775808"},
                           {LONG_MIN, 1UL + LONG_MAX, "-9223372036854775808"},
                           {LONG_MAX, ULONG_MAX, "18446744073709551615"},
                           {LONG_MAX, ULONG_MAX, "18446744073709551616"},
                           {LONG_MIN, ULONG_MAX, "-99999999999999999999"}})) {
    const std::string all = text + (text.empty() ? " -" : "-1");
    const char* after_signed = all.c_str();
    const char* after_unsigned = all.c_str();
    EXPECT_EQ(read_signed(after_signed), as_signed) << all;
    EXPECT_EQ(read_unsigned(after_unsigned), as_unsigned) << all;
    EXPECT_EQ(after_signed, all.c_str() + text.size()) << all;
    EXPECT_EQ(after_unsigned, after_signed) << all;
  }
}

TEST(Atm, CountsEveryFourthYearAsALeapYear) {
  const auto seconds = [](int year, int month, int day, int hour = 0) {
    const atm record{0, 0, hour, day, month, year, 0, 0, -1, 0};
    return tm_to_time_t(&record);
  };
  EXPECT_EQ(seconds(70, 0, 1), 0);
  EXPECT_EQ(seconds(72, 1, 29), utc(1972, 2, 29));
  EXPECT_EQ(seconds(72, 2, 1), utc(1972, 3, 1));
  EXPECT_EQ(seconds(99, 11, 31, 24), utc(2000, 1, 1));
  EXPECT_EQ(seconds(200, 1, 28), utc(2100, 2, 28));
  EXPECT_EQ(seconds(200, 2, 1), utc(2100, 3, 2));
  EXPECT_EQ(seconds(72, 0, -1), utc(1971, 12, 30));
  EXPECT_EQ(seconds(69, 0, 1), -1);
  EXPECT_EQ(seconds(INT_MIN, 0, 1), -1);
  EXPECT_EQ(seconds(72, 12, 1), -1);
  EXPECT_EQ(seconds(72, -1, 1), -1);
  EXPECT_EQ(seconds(72, 0, 1, -1), -1);
  EXPECT_GT(seconds(INT_MAX, 11, INT_MAX, INT_MAX), 0);
}
