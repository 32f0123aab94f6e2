#include "common/time/atm.h"

#include <array>

namespace localdisk {
namespace {

constexpr std::array<int, 12> days_before_month{0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
constexpr int february = 1;

}  // namespace

tm to_tm(const atm& record) noexcept {
  tm fields{};
  fields.tm_sec = record.tm_sec;
  fields.tm_min = record.tm_min;
  fields.tm_hour = record.tm_hour;
  fields.tm_mday = record.tm_mday;
  fields.tm_mon = record.tm_mon;
  fields.tm_year = record.tm_year;
  fields.tm_wday = record.tm_wday;
  fields.tm_yday = record.tm_yday;
  fields.tm_isdst = record.tm_isdst;
  return fields;
}

atm to_atm(const tm& fields) noexcept {
  return {.tm_sec = fields.tm_sec,
          .tm_min = fields.tm_min,
          .tm_hour = fields.tm_hour,
          .tm_mday = fields.tm_mday,
          .tm_mon = fields.tm_mon,
          .tm_year = fields.tm_year,
          .tm_wday = fields.tm_wday,
          .tm_yday = fields.tm_yday,
          .tm_isdst = fields.tm_isdst,
          .tm_usec = 0};
}

time_t tm_to_time_t(const atm* record) noexcept {
  const std::int64_t years = std::int64_t{record->tm_year} - 70;
  const int month = record->tm_mon;
  if (years < 0 || month < 0 || month > 11) return -1;
  if (record->tm_hour < 0 || record->tm_min < 0 || record->tm_sec < 0) return -1;

  // The leap day of the year itself is among `leap_days` from 1 January on, but has only passed once March begins.
  const std::int64_t leap_days = (years + 1) / 4;
  const bool leap_day_passed = month > february && record->tm_year % 4 == 0;
  const std::int64_t day = std::int64_t{record->tm_mday} - (leap_day_passed ? 0 : 1);
  const std::int64_t days = years * 365 + leap_days + days_before_month[static_cast<std::size_t>(month)] + day;
  return days * 86400 + std::int64_t{record->tm_hour} * 3600 + std::int64_t{record->tm_min} * 60 + record->tm_sec;
}

}  // namespace localdisk
