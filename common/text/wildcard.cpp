#include "common/text/wildcard.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cwctype>
#include <string>
#include <string_view>

// How it works. Between two runs ("*" or "<") an expression has only characters that move by zero or one position of
// the name, so that of two attempts the one that starts earlier never ends later. What a run can be followed by
// depends on where it starts: "*" reaches every position from there on, "<" every position from there on up to the
// last dot, or up to the end once it starts behind the last dot. (An attempt that is already past the end of the name
// gains nothing from this, but it only ever succeeds where every other attempt does too.) So two positions say all
// about the attempts that arrive at a run: the earliest one not behind the last dot, and the earliest one behind it.
// The expression is thus walked through once, and each segment between two runs is tried at each position of the name
// at most once.
//
// Most of these tries are known to fail beforehand and left out, which makes usual expressions three times as fast: a
// last segment of fixed width can only start where it ends with the name, and one that begins with a character of its
// own only where the name has that character.

namespace {

wint_t upper(wchar_t c) { return std::towupper(static_cast<wint_t>(c)); }
int upper(char c) {
  const int code = static_cast<signed char>(c);
  return code < 0 ? code : std::toupper(code);
}

constexpr std::size_t npos = static_cast<std::size_t>(-1);

// The positions of the name from `first` to `last`; none if they are the other way round.
struct Range {
  std::size_t first = 1;
  std::size_t last = 0;
};
using Starts = std::array<Range, 2>;  // in ascending order

// The earliest positions at which the attempts to walk a segment ended.
struct Arrival {
  std::size_t up_to_last_dot = npos;
  std::size_t behind_last_dot = npos;
  std::size_t earliest() const { return std::min(up_to_last_dot, behind_last_dot); }
};

Range range(std::size_t first, std::size_t last) {
  return first == npos ? Range{} : Range{first, std::max(first, last)};
}

template <class Char>
class Matcher {
 public:
  Matcher(const Char* name, bool ignore_case)
      : name_(name),
        length_(Traits::length(name)),
        behind_last_dot_(std::basic_string_view<Char>(name, length_).rfind('.') + 1),  // npos + 1 is 0
        ignore_case_(ignore_case) {}

  bool fits(const Char* expression) const {
    Starts starts{Range{0, 0}};
    for (const Char* segment = expression;;) {
      const Char* run = segment;
      while (!ends_segment(*run)) ++run;
      if (*run == '\0') return reaches_end(segment, run, starts);

      const Arrival arrival = arrive(segment, starts, /*earliest_is_enough=*/*run == '*');
      if (arrival.earliest() == npos) return false;
      if (*run == '*' && run[1] == '\0') return true;
      starts = *run == '*' ? Starts{range(arrival.earliest(), length_)}
                           : Starts{range(arrival.up_to_last_dot, behind_last_dot_ - 1),
                                    range(arrival.behind_last_dot, length_)};
      segment = run + 1;
    }
  }

 private:
  using Traits = std::char_traits<Char>;

  static bool ends_segment(Char c) { return c == '\0' || c == '*' || c == '<'; }
  static bool may_stay(Char c) { return c == '"' || c == '>'; }
  static bool is_special(Char c) { return ends_segment(c) || may_stay(c) || c == '?'; }

  bool reaches_end(const Char* segment, const Char* end, const Starts& starts) const {
    if (std::any_of(segment, end, may_stay)) return tail_matches(segment, starts);
    const auto width = static_cast<std::size_t>(end - segment);
    if (width > length_) return false;
    const std::size_t j = length_ - width;
    const auto holds = [j](const Range& tried) { return tried.first <= j && j <= tried.last; };
    return (holds(starts[0]) || holds(starts[1])) && walk(segment, j) == length_;
  }

  bool tail_matches(const Char* segment, const Starts& starts) const {
    for (const Range& tried : starts) {
      for (std::size_t j = tried.first; j <= tried.last; ++j) {
        if (walk(segment, j) == length_) return true;
      }
    }
    return false;
  }

  Arrival arrive(const Char* segment, const Starts& starts, bool earliest_is_enough) const {
    Arrival arrival;
    for (const Range& tried : starts) {
      for (std::size_t j = next_try(*segment, tried.first); j <= tried.last; j = next_try(*segment, j + 1)) {
        const std::size_t end = walk(segment, j);
        if (end == npos) continue;
        std::size_t& first = end < behind_last_dot_ ? arrival.up_to_last_dot : arrival.behind_last_dot;
        first = std::min(first, end);
        if (earliest_is_enough || end >= behind_last_dot_) return arrival;
      }
    }
    return arrival;
  }

  // The first position from `j` on at which a segment that begins with `c` may fit.
  std::size_t next_try(Char c, std::size_t j) const {
    if (is_special(c) || ignore_case_) return j;
    const Char* const found = j < length_ ? Traits::find(name_ + j, length_ - j, c) : nullptr;
    return found == nullptr ? npos : static_cast<std::size_t>(found - name_);
  }

  // The position after the segment if it starts at `j`, or npos if it does not fit. All positions behind the end
  // of the name are alike and count as the first of them.
  std::size_t walk(const Char* at, std::size_t j) const {
    for (; !ends_segment(*at); ++at) {
      const bool inside = j < length_;
      if (*at == '"') {
        j += inside && name_[j] == '.' ? 1 : 0;
      } else if (inside && *at == name_[j]) {
        ++j;  // right for "?" and ">" as well, should the name hold them: neither is a dot
      } else if (*at == '?' || *at == '>') {
        const bool on_last_dot = j + 1 == behind_last_dot_;
        if (*at == '?' || !on_last_dot) j = std::min(j, length_) + 1;
      } else {
        if (!inside || !same(*at, name_[j])) return npos;
        ++j;
      }
    }
    return j;
  }

  bool same(Char a, Char b) const { return a == b || (ignore_case_ && upper(a) == upper(b)); }

  const Char* name_;
  std::size_t length_;
  std::size_t behind_last_dot_;  // 0 without a dot
  bool ignore_case_;
};

}  // namespace

bool IsNameInExpression(const wchar_t* expression, const wchar_t* name, bool ignore_case) {
  return Matcher<wchar_t>(name, ignore_case).fits(expression);
}

bool IsNameInExpressionA(const char* expression, const char* name, bool ignore_case) {
  return Matcher<char>(name, ignore_case).fits(expression);
}
