#include "common/time/date_text.h"

#include "common/text/ascii.h"

namespace localdisk {
namespace {

struct Number {
  bool negative;
  bool overflow;
  unsigned long magnitude;
};

Number read_number(const char*& at) noexcept {
  const char* digits = at;
  while (is_space(*digits)) ++digits;
  Number number{.negative = *digits == '-', .overflow = false, .magnitude = 0};
  if (*digits == '-' || *digits == '+') ++digits;
  if (!is_digit(*digits)) return {};
  for (at = digits; is_digit(*at); ++at) {
    const auto digit = static_cast<unsigned long>(*at - '0');
    number.overflow |= __builtin_mul_overflow(number.magnitude, 10UL, &number.magnitude);
    number.overflow |= __builtin_add_overflow(number.magnitude, digit, &number.magnitude);
  }
  return number;
}

}  // namespace

unsigned long read_unsigned(const char*& at) noexcept {
  const auto [negative, overflow, magnitude] = read_number(at);
  if (overflow) return std::numeric_limits<unsigned long>::max();
  return negative ? 0UL - magnitude : magnitude;
}

long read_signed(const char*& at) noexcept {
  using Range = std::numeric_limits<long>;
  const auto [negative, overflow, magnitude] = read_number(at);
  if (overflow || magnitude > 0UL + Range::max()) return negative ? Range::min() : Range::max();
  const long value = static_cast<long>(magnitude);
  return negative ? -value : value;
}

}  // namespace localdisk
