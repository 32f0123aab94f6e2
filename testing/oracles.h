// Reference implementations: the rules as they are told, as plainly as they can be said and however long they take.
#pragma once

#include <algorithm>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

namespace oracles {

// The components of `path` between any of `separators`, a character or a text, without the empty ones and ".", and
// with each ".." taking back the one before; "/" joins them.
template <class Separators>
std::string joined_components(std::string_view path, Separators separators) {
  std::vector<std::string_view> kept;
  for (std::size_t start = 0; start <= path.size();) {
    const std::size_t end = std::min(path.find_first_of(separators, start), path.size());
    const std::string_view component = path.substr(start, end - start);
    start = end + 1;
    if (component == "..") {
      if (!kept.empty()) kept.pop_back();
    } else if (!component.empty() && component != ".") {
      kept.push_back(component);
    }
  }
  std::string text;
  for (const std::string_view component : kept) (text += text.empty() ? "" : "/") += component;
  return text;
}

// Whether the standard library's expressions find `text` to be an e-mail address.
inline bool is_email(const std::string& text) {
  static const std::regex expression(R"((\w+)(\.|_)?(\w*)@(\w+)(\.(\w+))+)");
  return std::regex_match(text, expression);
}

// Whether the wildcard `expression` covers what `name` has from `at` on. Every run is tried at every length; letters
// are ASCII. `at` may lie behind the name's end, from which nothing comes back.
inline bool matches_wildcard(std::string_view expression, std::string_view name, bool ignore_case = false,
                             std::size_t at = 0) {
  if (expression.empty()) return at == name.size();
  const char wanted = expression.front();
  const std::string_view rest = expression.substr(1);
  const bool ended = at >= name.size();
  const std::size_t dot = name.rfind('.');
  const bool is_dot = !ended && name[at] == '.';
  const auto goes_on = [&](std::size_t next) { return matches_wildcard(rest, name, ignore_case, next); };
  const auto any_of = [&](std::size_t last) {
    for (std::size_t next = at; next <= last; ++next)
      if (goes_on(next)) return true;
    return false;
  };
  const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
  switch (wanted) {
    case '*':
      return rest.empty() || (ended ? goes_on(at) : any_of(name.size()));
    case '?':
      return goes_on(at + 1);
    case '>':
      return goes_on(is_dot && at == dot ? at : at + 1);
    case '"':
      return goes_on(is_dot ? at + 1 : at);
    case '<':
      if (ended) return goes_on(at);
      return any_of(dot == std::string_view::npos || dot < at ? name.size() : dot);
    default:
      if (ended) return false;
      return (ignore_case ? upper(wanted) == upper(name[at]) : wanted == name[at]) && goes_on(at + 1);
  }
}

// The bytes of `text` as wide characters.
inline std::wstring widened(const std::string& text) {
  std::wstring wide;
  for (const char c : text) wide += static_cast<wchar_t>(static_cast<unsigned char>(c));
  return wide;
}

}  // namespace oracles
