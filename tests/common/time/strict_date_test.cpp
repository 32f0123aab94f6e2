#include "common/time/strict_date.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "common/time/date_at.h"
#include "testing/scoped_environment.h"
#include "tests/common/time/instants.h"

using localdisk::Clock;
using localdisk::parse_date_at;

namespace {

constexpr int untouched = 7;  // microseconds before the call

struct Dates {
  time_t seconds;
  int offset;
  int microseconds;
  std::vector<std::string> texts;
};

void expect_dates(std::span<const Dates> rows) {
  const Clock clock = clock_at(utc(2021, 7, 1, 13, 30, 20));
  for (const auto& [seconds, offset, microseconds, texts] : rows) {
    for (const std::string& text : texts) {
      timeval result{.tv_sec = 0, .tv_usec = untouched};
      int found_offset = 0;
      EXPECT_EQ(parse_date_at(text.c_str(), &result, &found_offset, clock), 0) << text;
      EXPECT_EQ(result.tv_sec, seconds) << text;
      EXPECT_EQ(result.tv_usec, microseconds) << text;
      EXPECT_EQ(found_offset, offset) << text;
    }
  }
}

constexpr time_t evening = 1203021000;  // 2008-02-14 20:30:00 UTC
constexpr const char* an_hour_east = "XST-1";

}  // namespace

TEST(StrictDate, ReadsDatesOfMailsLogsAndMachines) {
  const ScopedZone zone(an_hour_east);
  expect_dates(std::to_array<Dates>({
      {1203017445, 60, 0, {"Thu, 14 Feb 2008 20:30:45 +0100", "2008-02-14 20:30:45"}},
      {1203017445, 60, 250000, {"2008-02-14 20:30:45.25 +0100"}},
      {1203017445, 60, 250, {"2008-02-14 20:30:45.000250 +0100"}},
      {1203021045, 0, 0, {"2008-02-14T20:30:45Z"}},
      {1203021045, 60, 0, {"1203021045"}},
      {1203021045, 300, 0, {"1203021045 +0500"}},     // seconds since the epoch are so in any zone
      {4107628800, 60 + 24 * 60, 0, {"4107542400"}},  // the day too late counts as the zone's
      {evening,
       0,
       0,
       {"14.02.2008 20:30 Z", "02/14/2008 20:30 Z", "2008-02-14 20:30 Z", "14 Feb 08 20:30 Z", "20:30 14 2 2008 Z",
        "2008-02-14 08:30:00 PM Z", "14 Feb 2008 20:30 Z\n+0500 2009", "\xC3\xA0 14 f\xC3\xA9v Feb 2008 (20:30) Z",
        "99999999999999999999 14 Feb 2008 20:30 Z"}},
      {utc(2008, 3, 4, 20, 30), 0, 0, {"03/04/2008 20:30 Z"}},
      {utc(2008, 4, 3, 20, 30), 0, 0, {"03.04.2008 20:30 Z"}},
      {utc(2008, 2, 14, 12), 0, 0, {"2008-02-14 12:00:00 PM Z"}},
      {utc(2008, 2, 14), 0, 0, {"2008-02-14 12:00:00 AM Z"}},
      {utc(2008, 2, 15), 0, 0, {"2008-02-14 24:00:00 Z"}},
      {utc(1999, 2, 14, 20, 30), 0, 0, {"14 Feb 99 20:30 Z"}},
      {utc(2008, 12, 14, 20, 30), 0, 0, {"20:30 14 12 2008 Z"}},  // the last number that can be a month
  }));
}

TEST(StrictDate, FindsTheOffset) {
  const ScopedZone zone(an_hour_east);
  using Row = std::pair<int, std::vector<std::string>>;
  for (const auto& [offset, zones] : std::to_array<Row>({
           {-300, {"EDT -0500", "-0500 EDT"}},  // figures override a name
           {-240, {"EDT", "EDT 0100"}},         // unless they lack their sign
           {0, {"Z", "+00", "0000", "GMT+0"}},
           {90, {"0130", "+0130", "+01:30"}},
           {120, {"CEST EDT", "+02"}},
           {305, {"+05:+5", "+05: 5"}},  // five characters after the sign all the same
           {840, {"1400"}},
           {1439, {"+2359"}},
           {60,
            {"", "1401", "+05:3", "+05:-5", "+05:030", "+05:60", "+24", "+100", "+99999999999999999999", "-0001"}},
       })) {
    for (const std::string& text : zones) {
      expect_dates(std::to_array<Dates>({{evening - offset * 60, offset, 0, {"2008-02-14 20:30 " + text}}}));
    }
  }
}

TEST(StrictDate, ReadsStamps) {
  const ScopedZone zone(an_hour_east);
  expect_dates(std::to_array<Dates>({
      {1203021045, 60, untouched, {"@1203021045 +0100"}},
      {1203021045, -90, untouched, {"@1203021045 -0130\nmore"}},
      {5, 99 * 60 + 99, untouched, {"@5 +9999"}},
      {std::numeric_limits<time_t>::max(), 0, untouched, {"@18446744073709551614 +0000"}},
      {1203021045, 60, 0, {"@1203021045 +100", "@1203021045 0100", "@1203021045 +0100 more"}},  // no stamps
  }));
}

TEST(StrictDate, TakesTheOffsetThatTheZoneHasOnTheDay) {
  const ScopedZone zone(berlin_zone);
  expect_dates(std::to_array<Dates>({
      {utc(2021, 1, 15, 11), 60, 0, {"2021-01-15 12:00"}},
      {utc(2021, 7, 15, 10), 120, 0, {"2020-07-15 12:00 2021"}},
      {utc(2021, 3, 28, 0, 59, 59), 60, 0, {"2021-03-28 01:59:59"}},
      {utc(2021, 3, 28, 1), 120, 0, {"2021-03-28 03:00:00"}},
      {1625140800, 60, 0, {"1625140800"}},  // seconds since the epoch count as standard time
  }));
}

TEST(StrictDate, RefusesWhatLacksADateOrATime) {
  const Clock clock = clock_at(utc(2021, 7, 1));
  for (const char* text :
       {"", "\n2008-02-14 20:30", "20080214", "2008-02-14", "Feb 14 2008", "2008-02-14 9pm", "Feb 14 20:30",
        "20:30 14 13 2008", "20:00 12/31/2099", "2100-03-01 00:00:00 +0000", "14 Feb 1969 20:30", "@5 +00000",
        "@18446744073709551615 +0000", "18446744073709551615", "67768036191676800"}) {
    timeval result{};
    EXPECT_EQ(parse_date_at(text, &result, nullptr, clock), -1) << text;
    EXPECT_EQ(result.tv_sec, -1) << text;
  }
  EXPECT_EQ(parse_date_basic(nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(parse_date_basic("2008-02-14 20:30", nullptr, nullptr), 0);
}

TEST(StrictDate, ReadsBackEveryStyleInAnyCase) {
  const Clock clock = clock_at(utc(2021, 7, 1));
  std::mt19937_64 random(20080214);
  std::uniform_int_distribution<time_t> instants(0, utc(2099, 12, 31));
  for (int i = 0; i < 2000; ++i) {
    const time_t instant = instants(random);
    const time_t later = instant + 330 * 60;
    tm fields{};
    tm later_fields{};
    ::gmtime_r(&instant, &fields);
    ::gmtime_r(&later, &later_fields);
    for (const std::string& style :
         {formatted(later_fields, "%a, %d %b %Y %H:%M:%S +0530"), formatted(fields, "%FT%TZ"),
          formatted(later_fields, "%FT%T+05:30"), formatted(fields, "%m/%d/%Y %T GMT"),
          formatted(fields, "%d.%m.%Y %T +0000"), std::string("@").append(std::to_string(instant)) + " +0200"}) {
      for (const std::string& text : {style, upper_case(style)}) {
        timeval result{};
        EXPECT_EQ(parse_date_at(text.c_str(), &result, nullptr, clock), 0) << text;
        EXPECT_EQ(result.tv_sec, instant) << text;
      }
    }
  }
}
