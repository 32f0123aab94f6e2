#include "host/client/times.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr time_t first = 0, last = 2145916800;  // 1970 to 2037
constexpr time_t week = 7 * 86400;

void go_to(const std::string& zone) {
  ::setenv("TZ", zone.c_str(), 1);
  ::tzset();
}

struct Clock {
  explicit Clock(time_t instant) { ::localtime_r(&instant, &fields); }
  tm fields{};
  [[nodiscard]] time_t reading() const {
    tm copy = fields;
    return ::timegm(&copy);
  }
  // As the module writes its records.
  [[nodiscard]] std::string record() const {
    char text[64];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S.000Z", &fields);
    return text;
  }
};

// As the module reads what SetFileTime takes.
time_t set_by(const std::string& text) {
  tm fields{};
  ::strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &fields);
  fields.tm_isdst = 0;
  return ::mktime(&fields);
}

// Whether there is any text from which the module takes this instant.
bool can_be_set(time_t instant) {
  for (time_t reading = instant - 30 * 3600; reading <= instant + 30 * 3600; reading += 900) {
    tm fields{};
    ::gmtime_r(&reading, &fields);
    if (::mktime(&fields) == instant) return true;
  }
  return false;
}

// Each file of the zone database once, and zones that need no database.
std::vector<std::string> zones() {
  std::vector<std::string> names{"UTC0",     "CET-1CEST,M3.5.0,M10.5.0/3",           "EST5EDT,M3.2.0,M11.1.0",
                                 "XST-5:45", "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", "IST-1GMT0,M10.5.0,M3.5.0/1"};
  std::set<std::string> contents;
  std::error_code missing;
  for (fs::recursive_directory_iterator at("/usr/share/zoneinfo", missing), end; at != end; at.increment(missing)) {
    const std::string name = at->path().string();
    if (!at->is_regular_file() || name.find("/right/") != std::string::npos) continue;
    std::ifstream file(name, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    if (content.compare(0, 4, "TZif") == 0 && contents.insert(content).second) names.push_back(":" + name);
  }
  return names;
}

// Instants at which something can go wrong: around each change of the clock, and in the middle between two.
std::vector<time_t> interesting_instants() {
  std::vector<time_t> instants{first, last};
  const auto offset = [](time_t at) { return Clock(at).reading() - at; };
  time_t previous = offset(first);
  for (time_t at = first + week; at <= last; at += week) {
    const time_t now = offset(at);
    if (now == previous) continue;
    time_t low = at - week, high = at;
    while (high - low > 1) {
      const time_t middle = low + (high - low) / 2;
      (offset(middle) == previous ? low : high) = middle;
    }
    for (const time_t distance : {1800, 3600, 5400, 7200, 86400}) {
      instants.insert(instants.end(), {high - distance, high - 1, high, high + distance - 1, high + distance});
    }
    instants.push_back(at + 8 * week);
    previous = now;
  }
  return instants;
}

struct HostTimes : testing::Test {
  ~HostTimes() override {
    ::unsetenv("TZ");
    ::tzset();
  }
};

TEST_F(HostTimes, AreExactInEveryZone) {
  int unreachable = 0, tried = 0, wrong = 0;
  for (const std::string& zone : zones()) {
    go_to(zone);
    for (const time_t instant : interesting_instants()) {
      if (instant < first || instant > last || wrong > 20) continue;
      ++tried;
      const Clock clock(instant);
      const time_t read = host::parse_record_time(clock.record());
      // What shows the same text and is not later.
      const bool same = Clock(read).reading() == clock.reading() && read <= instant;
      const bool earliest = [&] {
        for (time_t earlier = read - 900; earlier > read - 7500; earlier -= 900) {
          if (Clock(earlier).reading() == clock.reading()) return false;
        }
        return true;
      }();
      const time_t set = set_by(host::format_set_time(instant));
      unreachable += set != instant ? 1 : 0;
      const bool exact = set == instant || !can_be_set(instant);
      if (same && earliest && exact && host::shows_time(Clock(set).record(), instant)) continue;
      ++wrong;
      ADD_FAILURE() << zone << " " << instant << ": read as " << read << ", set to " << set;
    }
  }
  EXPECT_GT(tried, 1000);
  EXPECT_LT(unreachable, tried / 100);
}

TEST_F(HostTimes, AreReadableByPeopleAndPrograms) {
  struct Case {
    const char* zone;
    time_t instant;
    const char *local, *utc;
  };
  for (const Case& c :
       {Case{"CET-1CEST,M3.5.0,M10.5.0/3", 1721044800, "2024-07-15T14:00:00+02:00", "2024-07-15T12:00:00Z"},
        Case{"CET-1CEST,M3.5.0,M10.5.0/3", 1705320000, "2024-01-15T13:00:00+01:00", "2024-01-15T12:00:00Z"},
        Case{"XST3:30", -1, "1969-12-31T20:29:59-03:30", "1969-12-31T23:59:59Z"},
        Case{"LMT0:44:30", 0, "1969-12-31T23:15:30-00:44:30", "1970-01-01T00:00:00Z"},
        Case{"UTC0", 16725225600, "2500-01-01T00:00:00+00:00", "2500-01-01T00:00:00Z"}}) {
    go_to(c.zone);
    EXPECT_EQ(host::format_local_time(c.instant), c.local);
    EXPECT_EQ(host::format_utc_time(c.instant), c.utc);
  }
  go_to("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(host::parse_record_time("2024-10-27T02:30:00.000Z"), 1729989000);  // the earlier, in summer time
  EXPECT_EQ(host::parse_record_time("2024-03-31T02:30:00.000Z"), 1711848600);  // never shown: an hour after 1:30
  EXPECT_TRUE(host::shows_time("2024-10-27T02:30:00.000Z", 1729989000));
  EXPECT_TRUE(host::shows_time("2024-10-27T02:30:00.000Z", 1729989000 + 3600));
  EXPECT_FALSE(host::shows_time("2024-10-27T02:30:00.000Z", 1729989000 + 7200));
  for (const char* const none : {"", "2024", "yesterday"}) {
    EXPECT_EQ(host::parse_record_time(none), -1);
    EXPECT_FALSE(host::shows_time(none, 0));
  }
}

}  // namespace
