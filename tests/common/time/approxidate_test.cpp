#include "common/time/approxidate.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <string>

#include "common/time/date_at.h"
#include "testing/scoped_environment.h"
#include "tests/common/time/instants.h"

using localdisk::approxidate_at;
using localdisk::Clock;

namespace {

std::string read(const std::string& text, const Clock& clock) {
  tm result{};
  if (approxidate_at(text.c_str(), &result, clock) != 0) return "-1";
  return formatted(result, "%F %T");
}

void expect_dates(const char* zone, time_t now, std::initializer_list<std::string> rows) {
  const ScopedZone local(zone);
  for (const std::string& row : rows) {
    const std::string text = row.substr(0, row.find(" = "));
    EXPECT_EQ(text + " = " + read(text, clock_at(now)), row);
  }
}

}  // namespace

TEST(Approxidate, ReadsDatesAsPeopleWriteThem) {
  const auto expect = [](std::initializer_list<std::string> rows) {
    expect_dates("XST-2", utc(2021, 7, 1, 13, 30, 20), rows);  // 15:30:20 on a Thursday
  };
  expect({"now = 2021-07-01 13:30:20", "yesterday = 2021-06-30 13:30:20", "noon = 2021-07-01 10:00:00",
          "tea = 2021-06-30 15:00:00", "midnight = 2021-06-30 22:00:00", "noon yesterday = 2021-06-30 10:00:00",
          "5pm = 2021-07-01 15:00:00", "12 am = 2021-06-30 22:00:00", "am = 2021-07-01 01:30:20",
          "10am yesterday = 2021-06-30 08:00:00", "yesterday 5pm = 2021-06-30 15:00:00",
          "never = 1970-01-01 00:00:00"});
  expect({"3 days ago = 2021-06-28 13:30:20", "three days ago = 2021-06-28 13:30:20",
          "3.days.ago = 2021-06-28 13:30:20", "3 foo days = 2021-06-28 13:30:20", "10 seconds = 2021-07-01 13:30:10",
          "5 minute = 2021-07-01 13:25:20", "last week = 2021-06-24 13:30:20", "last monday = 2021-06-28 13:30:20",
          "2 mondays ago = 2021-06-21 13:30:20", "last thursday = 2021-06-24 13:30:20",
          "last friday = 2021-06-25 13:30:20", "2 months ago = 2021-05-01 13:30:20",
          "7 months ago = 2020-12-01 13:30:20", "1 year ago = 2020-07-01 13:30:20"});
  expect({"Dec 25 = 2020-12-25 13:30:20", "June 3 = 2021-06-03 13:30:20", "3 June 2019 = 2019-06-03 13:30:20",
          "5 6 7 = 2007-06-05 13:30:20", "2008-02-14 = 2008-02-14 13:30:20",
          "Wed, 21 Oct 2015 07:28:00 GMT = 2015-10-21 07:28:00", "1 2 99 = 1999-02-01 13:30:20",
          "2008-02-14 9pm = 2008-02-14 19:00:00", "20:15 = 2021-07-01 18:15:00"});
  expect({"1 2 38 = 2021-02-01 13:30:20"});   // no year, dropped
  expect({"1 2 008 = 2021-02-01 13:30:20"});  // no number, for its zeros
  // A year before 1900 is as good as none.
  expect({"130 years ago = 2021-07-01 13:30:20", "99999999999999999999 years = 2021-07-01 13:30:20"});
  expect({"\n20:15 = 2021-07-01 18:15:00", "99999999999999999999 = 2021-07-01 13:30:20"});
  expect({"an hour ago = -1", "monday = -1", "zero = -1", "elastic = -1", "... = -1", "\xE6\x98\xA8 = -1", " = -1",
          "@18446744073709551614 +0000 = -1"});
}

TEST(Approxidate, KeepsTheSummerTimeFlagOfToday) {
  // Days of winter are read by the summer time of today.
  expect_dates(
      berlin_zone, utc(2021, 7, 1, 13, 30, 20),
      {"noon = 2021-07-01 10:00:00", "30 weeks ago = 2020-12-03 13:30:20", "Dec 25 = 2020-12-25 13:30:20",
       "6 months ago = 2021-01-01 13:30:20", "2008-02-14 = 2008-02-14 13:30:20", "never = 1970-01-01 00:00:00"});
  // Half an hour into summer time, at 3:30.
  expect_dates(berlin_zone, utc(2021, 3, 28, 1, 30),
               {"now = 2021-03-28 01:30:00", "1 hour ago = 2021-03-28 00:30:00", "yesterday = 2021-03-27 01:30:00",
                "noon = 2021-03-27 11:00:00", "midnight = 2021-03-27 22:00:00", "last sunday = 2021-03-21 01:30:00"});
  // The second 2:30 of the night in which summer time ends.
  expect_dates(berlin_zone, utc(2021, 10, 31, 1, 30),
               {"now = 2021-10-31 01:30:00", "1 hour ago = 2021-10-31 00:30:00", "yesterday = 2021-10-30 01:30:00",
                "last sunday = 2021-10-24 01:30:00", "noon = 2021-10-30 10:00:00", "midnight = 2021-10-30 23:00:00"});
}

TEST(Approxidate, CrossesTheEndsOfMonthsAndYears) {
  // A leap day.
  expect_dates(
      "UTC0", utc(2020, 2, 29, 12),
      {"1 year ago = 2019-03-01 12:00:00", "4 years ago = 2016-02-29 12:00:00", "1 month ago = 2020-01-29 12:00:00",
       "12 months ago = 2019-03-01 12:00:00", "Feb 29 = 2020-02-29 12:00:00", "noon = 2020-02-29 12:00:00"});
  // There is no 31 February.
  expect_dates("UTC0", utc(2021, 3, 31, 8), {"last month = 2021-03-03 08:00:00"});
  // The first second of a year.
  expect_dates("UTC0", utc(2021, 1, 1),
               {
                   "yesterday = 2020-12-31 00:00:00", "Dec 31 = 2020-12-31 00:00:00",
                   "13 months ago = 2019-12-01 00:00:00", "midnight = 2021-01-01 00:00:00",
                   "noon = 2020-12-31 12:00:00", "1 second ago = 2020-12-31 23:59:59", "1/5 = 2021-01-05 00:00:00",
                   "12/31 = 2031-01-12 00:00:00",  // too far ahead for a date, so a day and a year
               });
  // The last one, of a Friday.
  expect_dates(
      "UTC0", utc(2021, 12, 31, 23, 59, 59),
      {"noon = 2021-12-31 12:00:00", "tea = 2021-12-31 17:00:00", "midnight = 2021-12-31 00:00:00",
       "jan 1 = 2021-01-01 23:59:59", "last friday = 2021-12-24 23:59:59", "1 month ago = 2021-12-01 23:59:59"});
}

TEST(Approxidate, LeavesTheResultAloneWhenNothingWasUnderstood) {
  tm result{};
  result.tm_year = 42;
  EXPECT_EQ(approxidate("monday", &result), -1);
  EXPECT_EQ(approxidate(nullptr, &result), -1);
  EXPECT_EQ(approxidate_at("now", &result, clock_at(std::numeric_limits<time_t>::max())), -1);
  EXPECT_EQ(result.tm_year, 42);
  EXPECT_EQ(approxidate("now", nullptr), 0);
}

TEST(Approxidate, TurnsLastModifiedDatesIntoTimestamps) {
  EXPECT_EQ(convert_last_modified_to_rfc3339("Wed, 21 Oct 2015 07:28:00 GMT"), "2015-10-21T07:28:00.000Z");
  EXPECT_EQ(convert_last_modified_to_rfc3339("monday"), "");
  EXPECT_EQ(convert_last_modified_to_rfc3339(""), "");
}
