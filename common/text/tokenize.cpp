#include "common/text/tokenize.h"

#include <algorithm>
#include <bitset>
#include <type_traits>

#include "common/text/search.h"

namespace {

template <class String>
using Transform = std::function<String(String&)>;

// Stores what the transform makes of the piece from `begin` up to `end` of the text.
template <class String>
void store(std::vector<String>& pieces, const String& text, std::size_t begin, std::size_t end,
           const Transform<String>& transform) {
  String piece(text, begin, end - begin);
  pieces.push_back(transform(piece));
}

// A set of characters that answers without walking through all of them, so that a long set costs no more per
// character of the text than a short one.
template <class Char>
class CharacterSet {
 public:
  explicit CharacterSet(const std::basic_string<Char>& characters) {
    for (const Char c : characters) {
      if (code(c) < low_.size()) {
        low_.set(code(c));
      } else {
        high_.push_back(c);
      }
    }
    std::sort(high_.begin(), high_.end());
  }
  bool contains(Char c) const {
    return code(c) < low_.size() ? low_[code(c)] : std::binary_search(high_.begin(), high_.end(), c);
  }

 private:
  static std::size_t code(Char c) { return static_cast<std::make_unsigned_t<Char>>(c); }
  std::bitset<256> low_;
  std::basic_string<Char> high_;
};

template <class String>
std::vector<String> runs_outside(const String& text, const String& delimiters, const Transform<String>& transform) {
  const CharacterSet set(delimiters);
  const auto is_delimiter = [&set](auto c) { return set.contains(c); };
  const auto position = [&text](auto at) { return static_cast<std::size_t>(at - text.begin()); };
  std::vector<String> pieces;
  auto start = std::find_if_not(text.begin(), text.end(), is_delimiter);
  while (start != text.end()) {
    const auto end = std::find_if(start, text.end(), is_delimiter);
    store(pieces, text, position(start), position(end), transform);
    start = std::find_if_not(end, text.end(), is_delimiter);
  }
  return pieces;
}

template <class Char>
std::vector<std::basic_string<Char>> pieces_ended_by(const std::basic_string<Char>& text, Char delimiter,
                                                     const Transform<std::basic_string<Char>>& transform) {
  std::vector<std::basic_string<Char>> pieces;
  pieces.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), delimiter)) + 1);
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find(delimiter, start), text.size());
    store(pieces, text, start, end, transform);
    start = end + 1;
  }
  return pieces;
}

template <class String>
std::vector<String> pieces_between(const String& text, const String& delimiter, const Transform<String>& transform) {
  std::vector<String> pieces;
  std::size_t start = 0;
  if (!delimiter.empty()) {
    const localdisk::Searcher searcher(delimiter);
    std::size_t found = searcher.find(text, 0);
    std::size_t count = 1;
    for (std::size_t at = found; at != String::npos; at = searcher.find(text, at + delimiter.size())) ++count;
    pieces.reserve(count);
    for (; found != String::npos; found = searcher.find(text, start)) {
      store(pieces, text, start, found, transform);
      start = found + delimiter.size();
    }
  }
  store(pieces, text, start, text.size(), transform);
  return pieces;
}

}  // namespace

std::vector<std::string> split_delim(const std::string& text, const std::string& delimiters,
                                     std::function<std::string(std::string&)> transform) {
  return runs_outside(text, delimiters, transform);
}

std::vector<std::wstring> split_delim(const std::wstring& text, const std::wstring& delimiters,
                                      std::function<std::wstring(std::wstring&)> transform) {
  return runs_outside(text, delimiters, transform);
}

std::vector<std::string> tokenize(const std::string& text, char delimiter,
                                  std::function<std::string(std::string&)> transform) {
  return pieces_ended_by(text, delimiter, transform);
}

std::vector<std::wstring> tokenize(const std::wstring& text, wchar_t delimiter,
                                   std::function<std::wstring(std::wstring&)> transform) {
  return pieces_ended_by(text, delimiter, transform);
}

std::vector<std::string> tokenize(const std::string& text, std::string delimiter,
                                  std::function<std::string(std::string&)> transform) {
  return pieces_between(text, delimiter, transform);
}

std::vector<std::wstring> tokenize(const std::wstring& text, std::wstring delimiter,
                                   std::function<std::wstring(std::wstring&)> transform) {
  return pieces_between(text, delimiter, transform);
}
