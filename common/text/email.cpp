#include "common/text/email.h"

#include <locale>

namespace {

// The places in the pattern after which a text can stand. A text can stand at several of them at once, as "_"
// is both a word character and a separator, so a set of them is kept, in bits.
enum Place : unsigned {
  start = 1 << 0,
  name = 1 << 1,       // (\w+)
  separator = 1 << 2,  // (\.|_)?
  rest = 1 << 3,       // (\w*)
  at_sign = 1 << 4,    // @
  host = 1 << 5,       // (\w+)
  dot = 1 << 6,        // (\.
  domain = 1 << 7,     // (\w+))+
};

// The places after one more character, from the places before it: each one is reached from those that the
// pattern lets come before it.
unsigned step(unsigned places, char c, bool is_word) {
  const auto from = [places](unsigned before, unsigned place) { return (places & before) != 0 ? place : 0U; };
  unsigned next = 0;
  if (is_word) {
    next |= from(start | name, name) | from(name | separator | rest, rest);
    next |= from(at_sign | host, host) | from(dot | domain, domain);
  }
  if (c == '.' || c == '_') next |= from(name, separator);
  if (c == '@') next |= from(name | separator | rest, at_sign);
  if (c == '.') next |= from(host | domain, dot);
  return next;
}

}  // namespace

bool is_email_valid(const std::string& text) {
  const std::locale locale;
  const auto& classes = std::use_facet<std::ctype<char>>(locale);
  unsigned places = start;
  for (const char c : text) {
    places = step(places, c, c == '_' || classes.is(std::ctype_base::alnum, c));
    if (places == 0) return false;
  }
  return (places & domain) != 0;
}
