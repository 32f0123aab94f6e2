#include "common/text/email.h"

#include <locale>

// "_" is a word character too, and no locale counts "." or "@" among the letters, so the pattern says no more than
// \w+(\.\w*)?@\w+(\.\w+)+, and what comes next is plain at each character.
bool is_email_valid(const std::string& text) {
  const std::locale locale;
  const auto& classes = std::use_facet<std::ctype<char>>(locale);
  auto at = text.begin();
  const auto skip = [&](char c) {
    const bool is_next = at != text.end() && *at == c;
    at += is_next ? 1 : 0;
    return is_next;
  };
  const auto skip_word = [&] {
    const auto start = at;
    while (at != text.end() && (*at == '_' || classes.is(std::ctype_base::alnum, *at))) ++at;
    return at != start;
  };
  if (!skip_word()) return false;
  if (skip('.')) skip_word();
  if (!skip('@') || !skip_word()) return false;
  do {
    if (!skip('.') || !skip_word()) return false;
  } while (at != text.end());
  return true;
}
