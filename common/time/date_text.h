// Numbers as the date readers see them. None of it depends on the process's locale.
#pragma once

#include <algorithm>
#include <limits>

namespace localdisk {

// The value in the range of an int, at the nearer end of it when it lies outside.
constexpr int saturate(long long value) noexcept {
  constexpr long long low = std::numeric_limits<int>::min();
  constexpr long long high = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(value, low, high));
}

// An unsigned number in the range of its signed twin, for the calendar functions know only that one.
constexpr long saturate_unsigned(unsigned long value) noexcept {
  return static_cast<long>(std::min(value, 0UL + std::numeric_limits<long>::max()));
}

// Read the decimal number at `at` and move `at` past it. Like the C library's conversions they take white
// space and a sign before the digits, saturate at the end of the type's range, and give 0 without moving
// where there are no digits. A "-" wraps an unsigned number around, so that -1 is the largest of all.
unsigned long read_unsigned(const char*& at) noexcept;
long read_signed(const char*& at) noexcept;

}  // namespace localdisk
