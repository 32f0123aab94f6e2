// The first line is an expression, the second a name: the answer is that of a matcher that tries everything.
#include <algorithm>

#include "common/text/wildcard.h"
#include "fuzz/target.h"

namespace {

constexpr std::size_t kLongest = 12;  // trying everything takes its time

char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// `at` may lie behind the name's end, from which nothing comes back.
bool fits(std::string_view expression, std::string_view name, std::size_t at, bool ignore_case) {
  if (expression.empty()) return at == name.size();
  const char wanted = expression.front();
  const std::string_view rest = expression.substr(1);
  const bool ended = at >= name.size();
  const std::size_t dot = name.rfind('.');
  const bool is_dot = !ended && name[at] == '.';
  const auto any_of = [&](std::size_t last) {
    for (std::size_t next = at; next <= last; ++next)
      if (fits(rest, name, next, ignore_case)) return true;
    return false;
  };
  switch (wanted) {
    case '*':
      return rest.empty() || (ended ? fits(rest, name, at, ignore_case) : any_of(name.size()));
    case '?':
      return fits(rest, name, at + 1, ignore_case);
    case '>':
      return fits(rest, name, is_dot && at == dot ? at : at + 1, ignore_case);
    case '"':
      return fits(rest, name, is_dot ? at + 1 : at, ignore_case);
    case '<':
      if (ended) return fits(rest, name, at, ignore_case);
      return any_of(dot == std::string_view::npos || dot < at ? name.size() : dot);
    default:
      if (ended) return false;
      return (ignore_case ? upper(wanted) == upper(name[at]) : wanted == name[at]) &&
             fits(rest, name, at + 1, ignore_case);
  }
}

std::wstring widened(const std::string& text) {
  std::wstring wide;
  for (const char c : text) wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
  return wide;
}

}  // namespace

FUZZ_TARGET(wildcard) {
  std::string expression = input.line(), name = input.line();
  expression = expression.substr(0, kLongest).c_str();
  name = name.substr(0, kLongest).c_str();
  for (const bool ignore_case : {false, true}) {
    const bool answer = IsNameInExpressionA(expression.c_str(), name.c_str(), ignore_case);
    HOLDS(answer == fits(expression, name, 0, ignore_case));
    HOLDS(answer == IsNameInExpression(widened(expression).c_str(), widened(name).c_str(), ignore_case));
    HOLDS(!answer || IsNameInExpressionA(expression.c_str(), name.c_str(), true));
  }
}
