// Finding a text in another one, again and again, in time linear in both.
#pragma once

#include <string>
#include <vector>

namespace localdisk {

// Finds the occurrences of one text, which has to outlive the object and must not be empty.
template <class Char>
class Searcher {
 public:
  using String = std::basic_string<Char>;

  explicit Searcher(const String& wanted) : wanted_(wanted) {
    if (wanted.size() > longest_for_plain_search) fill_fallbacks();
  }

  // The position of the first occurrence at or after `from`, or npos.
  std::size_t find(const String& text, std::size_t from) const {
    return fallbacks_.empty() ? text.find(wanted_, from) : find_long(text, from);
  }

 private:
  // The string's own search starts over at every position: quicker on real text, and bounded for a short one.
  static constexpr std::size_t longest_for_plain_search = 32;

  // Knuth, Morris and Pratt: fallbacks_[n] is the length of the longest proper beginning of the wanted text
  // that is also an end of its first n characters. It says where to go on after a mismatch without reading
  // anything twice.
  void fill_fallbacks() {
    fallbacks_.resize(wanted_.size() + 1);
    std::size_t matched = 0;
    for (std::size_t at = 1; at < wanted_.size(); ++at) {
      matched = advance(matched, wanted_[at]);
      fallbacks_[at + 1] = matched;
    }
  }

  // How much of the wanted text is matched once `next` follows the first `matched` characters of it.
  std::size_t advance(std::size_t matched, Char next) const {
    while (matched > 0 && wanted_[matched] != next) matched = fallbacks_[matched];
    return wanted_[matched] == next ? matched + 1 : 0;
  }

  std::size_t find_long(const String& text, std::size_t from) const {
    std::size_t matched = 0;
    for (std::size_t at = from; at < text.size(); ++at) {
      matched = advance(matched, text[at]);
      if (matched == wanted_.size()) return at + 1 - matched;
    }
    return String::npos;
  }

  const String& wanted_;
  std::vector<std::size_t> fallbacks_;
};

}  // namespace localdisk
