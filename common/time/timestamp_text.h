// The fields of a time and their timestamp text (rfc3339.h), there and back.
#pragma once

#include <array>
#include <cstddef>
#include <ctime>
#include <string_view>

namespace localdisk {

// The text in place, for callers that have a string of their own to put it into.
class TimestampText {
 public:
  TimestampText() noexcept = default;  // empty

  // Becomes the text of the fields as they are, see TMToRFC3339.
  void set(const tm& t) noexcept;
  void clear() noexcept { length_ = 0; }

  [[nodiscard]] std::string_view view() const noexcept { return {text_.data(), length_}; }

 private:
  // Room for six fields of the widest int, the separators, the fraction and the terminator.
  static constexpr std::size_t longest = 6 * 12 + 16;

  std::array<char, longest> text_;
  std::size_t length_ = 0;
};

// The fields of `text` as RFC3339ToTM takes them, with the summer-time flag cleared and before mktime sees them.
tm read_timestamp(const char* text) noexcept;

}  // namespace localdisk
