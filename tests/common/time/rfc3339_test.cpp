#include "common/time/rfc3339.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <tuple>

#include "common/time/server_clock.h"
#include "testing/scoped_environment.h"

namespace {

constexpr time_t january_noon = 1610712000;  // 2021-01-15 12:00:00 UTC
constexpr time_t july_noon = 1625140800;     // 2021-07-01 12:00:00 UTC

tm fields(int year, int month, int day, int hour, int minute, int second) {
  tm t{};
  t.tm_year = year - 1900;
  t.tm_mon = month - 1;
  t.tm_mday = day;
  t.tm_hour = hour;
  t.tm_min = minute;
  t.tm_sec = second;
  t.tm_isdst = -1;
  return t;
}

TEST(Rfc3339, PrintsFieldsAsTheyAre) {
  tm extreme{};
  extreme.tm_year = extreme.tm_mon = INT_MAX;
  extreme.tm_mday = extreme.tm_hour = extreme.tm_min = extreme.tm_sec = INT_MIN;
  for (auto [t, text] : std::to_array<std::tuple<tm, std::string_view>>({
           {fields(2021, 7, 1, 12, 0, 0), "2021-07-01T12:00:00.000Z"},
           {fields(999, 1, 2, 3, 4, 5), "0999-01-02T03:04:05.000Z"},
           {fields(2021, 13, 0, 25, 61, 60), "2021-13-00T25:61:60.000Z"},
           {fields(0, 0, 0, 0, 0, 0), "0000-00-00T00:00:00.000Z"},
           {fields(9999, 99, 99, 99, 99, 99), "9999-99-99T99:99:99.000Z"},
           {fields(10000, 100, 100, 100, 100, 100), "10000-100-100T100:100:100.000Z"},
           {fields(10000, 1, 2, 3, 4, 5), "10000-01-02T03:04:05.000Z"},
           {fields(2021, 100, 2, 3, 4, 5), "2021-100-02T03:04:05.000Z"},
           {fields(2021, 1, 100, 3, 4, 5), "2021-01-100T03:04:05.000Z"},
           {fields(2021, 1, 2, 100, 4, 5), "2021-01-02T100:04:05.000Z"},
           {fields(2021, 1, 2, 3, 100, 5), "2021-01-02T03:100:05.000Z"},
           {fields(2021, 1, 2, 3, 4, 100), "2021-01-02T03:04:100.000Z"},
           {fields(-1, 1, 1, 0, 0, -7), "-001-01-01T00:00:-7.000Z"},
           {extreme, "2147485547-2147483648--2147483648T-2147483648:-2147483648:-2147483648.000Z"},
       })) {
    EXPECT_EQ(TMToRFC3339(&t), text);
  }
}

TEST(Rfc3339, PrintsInstantsInUtcWhateverTheZone) {
  for (const char* zone : {"UTC0", berlin_zone, new_york_zone, "XST-5:45"}) {
    const ScopedZone scoped(zone);
    for (const auto& [instant, text] : std::to_array<std::tuple<long, std::string_view>>({
             {0, "1970-01-01T00:00:00.000Z"},
             {-1, "1969-12-31T23:59:59.000Z"},
             {1711846800, "2024-03-31T01:00:00.000Z"},  // the spring change of one of the zones
             {1729994400, "2024-10-27T02:00:00.000Z"},
             {253402300799, "9999-12-31T23:59:59.000Z"},
             {253402300800, "10000-01-01T00:00:00.000Z"},
             {LONG_MAX, ""},
         })) {
      EXPECT_EQ(TimeToRFC3339(instant), text) << zone;
      EXPECT_EQ(TimeToUTCRFC3339(instant), text) << zone;
      EXPECT_EQ(NoAdjustOffsetForServerTime(instant), text) << zone;
    }
  }
}

TEST(Rfc3339, BringsLocalFieldsToUtcAndNormalisesThem) {
  const ScopedZone berlin(berlin_zone);
  tm summer = fields(2021, 7, 32, 14, 0, 0);
  EXPECT_EQ(TMToUTCRFC3339(&summer), "2021-08-01T12:00:00.000Z");
  EXPECT_EQ(std::tuple(summer.tm_mon, summer.tm_mday, summer.tm_isdst), std::tuple(7, 1, 1));
}

TEST(Rfc3339, ReadsTextAsLocalStandardTime) {
  struct Row {
    const char* text;
    time_t utc;
  };
  for (const auto& [text, utc] : std::to_array<Row>({
           {"2021-07-01T12:00:00.000Z", july_noon},
           {"2021-7-1T12:0:0", july_noon},
           {"2021-07-01T12:00:00.999999+05:00", july_noon},
           {" +2021- 07-\t01T\n12: 00: +00", july_noon},
           {"2021-07-01 12:00:00", july_noon - 12 * 3600},  // reading stops at the blank
           {"2021-07-01t12:00:00", july_noon - 12 * 3600},
           {"2021-07-01T12:00", july_noon},
           {"2021-07-01T12:", july_noon},
           {"2021-06-30T36:00:00", july_noon},
           {"2021-07-01T13:-60:00", july_noon},
           {"2021-07", 1625011200},  // day 0 of July
       })) {
    for (const auto& [zone, east, summer] : std::to_array<std::tuple<const char*, long, long>>(
             {{"UTC0", 0, 0}, {berlin_zone, 3600, 0}, {"XST5", -18000, 0}})) {
      const ScopedZone scoped(zone);
      EXPECT_EQ(RFC3339ToTM(text), utc - east + summer) << text << " in " << zone;
    }
  }
  const ScopedZone utc("UTC0");
  EXPECT_EQ(RFC3339ToTM(""), RFC3339ToTM(nullptr));
  EXPECT_EQ(RFC3339ToTM("year"), -62169984000);  // day 0 of month 0 of the year 0
  EXPECT_EQ(RFC3339ToTM("1970-01-01T00:00:99999999999999999999"), INT_MAX);
}

TEST(Rfc3339, ReadsItsOwnTextBackAnHourLateInSummer) {
  const ScopedZone berlin(berlin_zone);
  for (const auto& [instant, late] : {std::pair{january_noon, 0}, {july_noon, 3600}}) {
    tm local{};
    ::localtime_r(&instant, &local);
    EXPECT_EQ(RFC3339ToTM(TMToRFC3339(&local).c_str()), instant + late);
  }
}

TEST(Rfc3339, TellsTheCurrentTimeWithMilliseconds) {
  const time_t before = ::time(nullptr);
  const std::string text = GetSystemTimeRfc3339();
  const ScopedZone utc("UTC0");
  ASSERT_EQ(text.size(), 23U);
  EXPECT_EQ(text[19], '.');
  EXPECT_GE(RFC3339ToTM(text.c_str()), before);
  EXPECT_LE(RFC3339ToTM(text.c_str()), ::time(nullptr));
}

TEST(ServerClock, ShiftsByTheStandardOffset) {
  struct Row {
    const char *zone, *forward_january, *forward_july, *back;
  };
  for (const auto& row : std::to_array<Row>({
           {"UTC0", "2021-01-15T12:00:00.000Z", "2021-07-01T12:00:00.000Z", "2021-01-15T12:00:00.000Z"},
           {"XST-1", "2021-01-15T13:00:00.000Z", "2021-07-01T13:00:00.000Z", "2021-01-15T10:00:00.000Z"},
           {berlin_zone, "2021-01-15T13:00:00.000Z", "2021-07-01T13:00:00.000Z", "2021-01-15T10:00:00.000Z"},
           {new_york_zone, "2021-01-15T07:00:00.000Z", "2021-07-01T07:00:00.000Z", "2021-01-15T22:00:00.000Z"},
       })) {
    const ScopedZone scoped(row.zone);
    EXPECT_EQ(AdjustOffsetForServerTime(january_noon), row.forward_january) << row.zone;
    EXPECT_EQ(AdjustOffsetForServerTime(july_noon), row.forward_july) << row.zone;
    EXPECT_EQ(AdjustServerTimeOffset("2021-01-15T12:00:00"), row.back) << row.zone;
    for (const long no_year : {LONG_MIN, LONG_MAX}) EXPECT_EQ(AdjustOffsetForServerTime(no_year), "") << row.zone;
  }
  for (const char* text : {"", "not a time", "2021-01-15T12:00:00"}) EXPECT_EQ(NoAdjustServerTimeOffset(text), text);
}

}  // namespace
