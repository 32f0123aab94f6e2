// A line is a date as people write it: what is understood has fields of a real instant, what isn't touches nothing.
#include <algorithm>
#include <cstring>
#include <ctime>

#include "common/time/approxidate.h"
#include "common/time/date_at.h"
#include "common/time/rfc3339.h"
#include "fuzz/target.h"
#include "fuzz/zone.h"

FUZZ_TARGET(approximate_date) {
  use_zone("CET-1CEST,M3.5.0,M10.5.0/3");
  const localdisk::Clock clock(timeval{1709644029, 250000});  // 2024-03-05 14:07:09 in Berlin
  const std::string text = input.rest();
  constexpr unsigned char mark = 0x55;
  tm result{};
  std::memset(&result, mark, sizeof(result));
  const int status = localdisk::approxidate_at(text.c_str(), &result, clock);
  HOLDS(status == 0 || status == -1);
  HOLDS(localdisk::approxidate_at(text.c_str(), nullptr, clock) == status);
  std::string upper = text;
  for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  HOLDS(localdisk::approxidate_at(upper.c_str(), nullptr, clock) == status);
  if (status == -1) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&result);
    HOLDS(std::count(bytes, bytes + sizeof(result), mark) == std::ptrdiff_t{sizeof(result)});
    return;
  }
  tm fields = result, same{};
  const time_t instant = ::timegm(&fields);
  HOLDS(::gmtime_r(&instant, &same) != nullptr);
  HOLDS(same.tm_sec == result.tm_sec && same.tm_min == result.tm_min && same.tm_hour == result.tm_hour);
  HOLDS(same.tm_mday == result.tm_mday && same.tm_mon == result.tm_mon && same.tm_year == result.tm_year);
  timeval strict{};
  if (localdisk::parse_date_at(text.c_str(), &strict, nullptr, clock) == 0) HOLDS(strict.tv_sec == instant);
  HOLDS(convert_last_modified_to_rfc3339(text).size() >= 24);  // by the machine's clock, so no more is known
}
