#include "common/time/date_group.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "common/time/date_text.h"
#include "tests/common/time/instants.h"

using namespace localdisk;

namespace {

constexpr atm nothing_given{-1, -1, -1, -1, -1, -1, 0, 0, -1, 0};

std::string shown(std::int64_t field, int shift = 0) { return field < 0 ? "x" : std::to_string(field + shift); }

// The time and date of `record` after the group was read, with an x for what it lacks, and the rest of the
// text, or all of it in brackets if the group was refused.
std::string read_group(const std::string& text, atm record, const Clock& clock) {
  const char* separator = text.c_str();
  const unsigned long first = read_unsigned(separator);
  const char* const end = read_number_group(first, separator, record, clock);
  return shown(record.tm_hour) + ":" + shown(record.tm_min) + ":" + shown(record.tm_sec) + "." +
         std::to_string(record.tm_usec) + " " + shown(record.tm_year, 1900) + "-" + shown(record.tm_mon, 1) + "-" +
         shown(record.tm_mday) + (end == nullptr ? "[" + text + "]" : end);
}

constexpr Clock clock_of_2021(timeval{.tv_sec = 1625146220, .tv_usec = 0});  // 1 July, 13:30:20 UTC
constexpr const char* nothing = "x:x:x.0 x-x-x";

}  // namespace

TEST(DateGroup, ReadsTimesAndDates) {
  for (const std::string row :
       {"24:59:60 = 24:59:60.0 x-x-x", "20:30.5 = 20:30:0.0 x-x-x.5", "1:2:3.5 = 1:2:3.500000 x-x-x",
        "1:2:3.0002509Z = 1:2:3.250 x-x-xZ", "1:2:3.99999999999999999999 = 1:2:3.999999 x-x-x",
        "1:2:3. 25 = 1:2:3.25000 x-x-x", "1:2:3.-5+1 = 1:2:3.-50000 x-x-x+1",  // a sign takes a place
        "1:2:3.-1234567 = 1:2:3.-123456 x-x-x", "1:2:3.   12345 = 1:2:3.12345 x-x-x", "1:2:3.x = 1:2:3.0 x-x-xx",
        "2008-14-02 = x:x:x.0 2008-2-14", "14/02/08/7 = x:x:x.0 2008-2-14/7", "02.14.2008.5 = x:x:x.0 2008-2-14",
        "3-4-8 = x:x:x.0 2008-3-4", "71-2-3 = x:x:x.0 1971-2-3", "14.2.37 = x:x:x.0 2037-2-14",
        "2/14 = x:x:x.0 x-2-14", "14.2 = x:x:x.0 x-2-14"}) {
    const std::string text = row.substr(0, row.find(" = "));
    EXPECT_EQ(text + " = " + read_group(text, nothing_given, clock_of_2021), row);
  }
  for (const std::string refused :
       {"25:00", "20:60", "20:30:61", "70-2-3", "14.2.38", "14.2.100", "14.2.1969", "14.2.2100", "13/13", "2/0/8",
        "18446744073709551615-2-14", "4294967297.4294967297.2008"}) {
    EXPECT_EQ(read_group(refused, nothing_given, clock_of_2021), nothing + ("[" + refused + "]"));
  }
}

TEST(DateGroup, RefusesDatesMoreThanTenDaysAheadByTheRecordsTime) {
  atm at_now = nothing_given;
  at_now.tm_hour = 13;
  at_now.tm_min = 30;
  at_now.tm_sec = 20;
  EXPECT_EQ(read_group("2021-07-11", at_now, clock_of_2021), "13:30:20.0 2021-7-11");
  EXPECT_EQ(read_group("11/7/2021", at_now, clock_of_2021), "13:30:20.0 2021-7-11");  // 7 November is too far
  EXPECT_EQ(read_group("8/1", at_now, clock_of_2021), "13:30:20.0 x-1-8");            // held against this year
  at_now.tm_sec = 21;
  EXPECT_EQ(read_group("11/7/2021", at_now, clock_of_2021), "13:30:21.0 x-x-x[11/7/2021]");
}

TEST(DateGroup, TakesSensibleDatesWhenTheClockShowsNoYear) {
  const Clock clock = clock_at(std::numeric_limits<time_t>::max());
  EXPECT_EQ(read_group("12/31/2099", nothing_given, clock), "x:x:x.0 2099-12-31");
  EXPECT_EQ(read_group("2/14", nothing_given, clock), "x:x:x.0 x-2-14");
  EXPECT_EQ(read_group("2/14/50", nothing_given, clock),
            "x:x:x.0 x-2-14[2/14/50]");  // what an attempt has left
}
