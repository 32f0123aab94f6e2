// ASCII characters by kind. None of it depends on the process's locale, and bytes from 0x80 on are of no kind.
#pragma once

#include <string_view>

namespace localdisk {

constexpr bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

constexpr bool is_letter(char c) noexcept { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// Space, tab, line feed, vertical tab, form feed and carriage return.
constexpr bool is_space(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

// `text` without the white space at its ends, as a part of it.
constexpr std::string_view trimmed(std::string_view text) noexcept {
  while (!text.empty() && is_space(text.back())) text.remove_suffix(1);
  while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
  return text;
}

}  // namespace localdisk
