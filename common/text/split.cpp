#include "common/text/split.h"

namespace {

// The ready-made token iterator gives the same pieces, but copies its whole state, matches included, at every step.
template <class Char>
std::vector<std::basic_string<Char>> pieces_between_matches(const std::basic_string<Char>& text,
                                                            const std::basic_regex<Char>& expression) {
  const Char* rest = text.data();
  const Char* const end = rest + text.size();
  const std::regex_iterator<const Char*> none;
  std::regex_iterator<const Char*> match(rest, end, expression);
  if (match == none) return {text};

  std::vector<std::basic_string<Char>> pieces;
  for (; match != none; ++match) {
    const auto& whole = (*match)[0];
    pieces.emplace_back(rest, whole.first);
    rest = whole.second;
  }
  if (rest != end) pieces.emplace_back(rest, end);
  return pieces;
}

}  // namespace

std::vector<std::string> split(const std::string& text, const std::regex expression) {
  return pieces_between_matches(text, expression);
}

std::vector<std::wstring> split(const std::wstring& text, const std::wregex expression) {
  return pieces_between_matches(text, expression);
}
