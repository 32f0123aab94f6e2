// A line is a date: one that is read prints in the usual forms and reads back as the same instant.
#include <ctime>
#include <iomanip>
#include <sstream>

#include "common/time/date_at.h"
#include "common/time/rfc3339.h"
#include "fuzz/target.h"
#include "fuzz/zone.h"

namespace {

constexpr time_t fixed_now = 4102444800;      // 2100-01-01: nothing that can be printed lies ahead
constexpr time_t latest = fixed_now - 86400;  // the reader's years end with 2099

std::string printed(time_t instant, const char* form) {
  tm fields{};
  ::gmtime_r(&instant, &fields);
  std::ostringstream text;
  text << std::put_time(&fields, form);
  return text.str();
}

}  // namespace

FUZZ_TARGET(strict_date) {
  use_zone("CET-1CEST,M3.5.0,M10.5.0/3");
  const localdisk::Clock clock(timeval{fixed_now, 0});
  const std::string text = input.rest();
  timeval result{}, again{};
  int offset = 0, offset_again = 0;
  const int status = localdisk::parse_date_at(text.c_str(), &result, &offset, clock);
  HOLDS(status == 0 || (status == -1 && result.tv_sec == -1));
  HOLDS(localdisk::parse_date_at(text.c_str(), &again, nullptr, clock) == status && again.tv_sec == result.tv_sec);
  if (status != 0 || result.tv_sec < 0 || result.tv_sec > latest) return;
  for (const char* form :
       {"%a, %d %b %Y %H:%M:%S +0000", "%Y-%m-%dT%H:%M:%SZ", "%d.%m.%Y %H:%M:%S GMT", "%B %d %Y %I:%M:%S %p UTC"}) {
    HOLDS(localdisk::parse_date_at(printed(result.tv_sec, form).c_str(), &again, &offset_again, clock) == 0);
    HOLDS(again.tv_sec == result.tv_sec && again.tv_usec == 0 && offset_again == 0);
  }
}
