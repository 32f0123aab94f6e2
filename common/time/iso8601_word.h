// The one word that an ISO 8601 date-time is, behind the readers of iso8601.h.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

namespace localdisk {

// The instant of `word`, which holds no white space, or 0 if it is no date-time; see parse8601.
time_t instant_of_word(std::string_view word);

// Rejects words on which the library computes with unset values: no digits for the seconds, or "-" without digits
// for the offset. All of them are invalid.
bool is_safe(const std::string& word) noexcept;

}  // namespace localdisk
