#include "common/time/iso8601.h"

#include <gtest/gtest.h>

#include <array>
#include <new>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "common/time/iso8601_word.h"
#include "testing/scoped_environment.h"
#include "tests/common/time/instants.h"

TEST(Iso8601, HonoursTheZoneOfTheText) {
  const ScopedZone zone(new_york_zone);  // must not matter
  constexpr time_t noon = 1625140800;
  struct Row {
    time_t instant;
    std::vector<const char*> texts;
  };
  for (const auto& [instant, texts] : std::to_array<Row>({
           {noon,
            {"2021-07-01T12:00:00Z", "2021-07-01T12:00:00.999999Z", "2021-07-01T14:00:00+02:00",
             "2021-07-01T06:30:00.5-05:30", "  \t\n2021-07-01T12:00:00Z 1999-01-01T00:00:00Z",
             "2021-07-01T12:00:00Zabc", "2021-7-1T12:0:0Z"}},
           {noon - 2 * 3600, {"2021-07-01T12:00:00+0230"}},  // minutes need their colon
           {noon - 7 * 3600, {"2021-07-01T12:00:00.1234567Z", "2021-07-01T12:00:00.1234567-x"}},
           {-1, {"1969-12-31T23:59:58.5Z"}},
           {951914039, {"2000-02-29T23:59:59.000001-12:34"}},
           {-62135596800, {"0001-01-01T00:00:00Z"}},
           {253402300799, {"9999-12-31T23:59:59Z"}},
           {0,
            {"1969-12-31T23:59:59.5Z", "2021-07-01T12:00:00", "2021-07-01T12:00Z", "2021-07-01T12:00:Z",
             "2021-07-01T", "2021-07-01 12:00:00Z", "2021-02-30T00:00:00Z", "1900-02-29T00:00:00Z",
             "2021-07-01T24:00:00Z", "2021-07-01T23:59:60Z", "2021-07-01T12:00:00.5-x", "2021-07-01T12:00:00-",
             "T1:1:1Z", "", "  \n"}},
       })) {
    for (const char* text : texts) EXPECT_EQ(RFC3339ToLocalTM(text), instant) << text;
  }
  EXPECT_EQ(RFC3339ToLocalTM(nullptr), 0);
}

TEST(Iso8601, IsRightInEveryYear) {
  for (int year = 1; year <= 9999; ++year) {
    std::ostringstream digits;
    digits << (year < 10 ? "000" : year < 100 ? "00" : year < 1000 ? "0" : "") << year;
    EXPECT_EQ(RFC3339ToLocalTM((digits.str() + "-03-01T00:00:00Z").c_str()), utc(year, 3, 1));
    EXPECT_EQ(RFC3339ToLocalTM((digits.str() + "-12-31T23:59:59Z").c_str()), utc(year, 12, 31, 23, 59, 59));
  }
}

TEST(Iso8601, GivesTheLibraryOnlyWhatItComputesRightlyWith) {
  for (const char* safe : {"2021-07-01T12:00:00Z", "T1:2:3", "T12:00:.5Z", "T12:00:00.5-0", "T12:00:00.123456+",
                           "T12:00:00.123456-0", "anythingT1:2:3!"}) {
    EXPECT_TRUE(localdisk::is_safe(safe)) << safe;
  }
  for (const char* unsafe :
       {"", "T", "12:00:00", "T12", "T12:", "T12:00", "T12:00:", "T12:00:Z", "T12:00:-1", "T:0:0", "T0::0",
        "T12x00:00Z", "T12:00x00Z", "T123:00:00", "T12:00:00-", "T12:00:00-x", "T12:00:00.123456-"}) {
    EXPECT_FALSE(localdisk::is_safe(unsafe)) << unsafe;
  }
}

TEST(Iso8601, LeavesTheRestOfTheStream) {
  std::istringstream in(" 2021-07-01T12:00:00Z next");
  EXPECT_EQ(parse8601(std::move(in)), 1625140800);
  std::string rest;
  EXPECT_TRUE(in >> rest);
  EXPECT_EQ(rest, "next");
}

template <class Exception>
struct ThrowingBuffer : std::streambuf {
  int_type underflow() override { throw Exception(); }
};

struct DeviceFailure : std::runtime_error {
  DeviceFailure() : std::runtime_error("device") {}
};

TEST(Iso8601, LetsOnlyExhaustedMemoryThroughUnlessAskedForMore) {
  ThrowingBuffer<std::bad_alloc> exhausted;
  std::istream without_memory(&exhausted);
  EXPECT_THROW(parse8601(std::move(without_memory)), std::bad_alloc);
  EXPECT_EQ(without_memory.exceptions(), std::ios_base::goodbit);

  ThrowingBuffer<DeviceFailure> broken;
  std::istream without_device(&broken);
  EXPECT_EQ(parse8601(std::move(without_device)), 0);
  EXPECT_TRUE(without_device.bad());
  EXPECT_EQ(parse8601(std::move(without_device)), 0);
  ThrowingBuffer<int> odd;
  EXPECT_EQ(parse8601(std::istream(&odd)), 0);

  std::istringstream strict("");
  strict.exceptions(std::ios_base::failbit);
  EXPECT_THROW(parse8601(std::move(strict)), std::ios_base::failure);
}
