// The timestamp text (rfc3339.h) in place, for callers that have a string of their own to put it into.
#pragma once

#include <array>
#include <cstddef>
#include <ctime>
#include <string_view>

class TimestampText {
 public:
  TimestampText() noexcept = default;            // empty
  explicit TimestampText(const tm& t) noexcept;  // of the fields as they are, see TMToRFC3339

  [[nodiscard]] std::string_view view() const noexcept { return {text_.data(), length_}; }

 private:
  // Room for six fields of the widest int, the separators, the fraction and the terminator.
  static constexpr std::size_t longest = 6 * 12 + 16;

  std::array<char, longest> text_;
  std::size_t length_ = 0;
};
