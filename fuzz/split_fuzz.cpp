// Lines: a delimiter, a replacement, a text. The ways of cutting a text agree with each other, narrow and wide.
#include <regex>

#include "common/text/split.h"
#include "common/text/strings.h"
#include "common/text/tokenize.h"
#include "fuzz/target.h"
#include "testing/oracles.h"

using oracles::widened;

namespace {

bool are_same(const std::vector<std::string>& narrow, const std::vector<std::wstring>& wide) {
  bool same = narrow.size() == wide.size();
  for (std::size_t i = 0; same && i < wide.size(); ++i) same = widened(narrow[i]) == wide[i];
  return same;
}

std::regex literally(char c) {
  char text[8];
  std::snprintf(text, sizeof(text), "\\x%02x", static_cast<unsigned int>(static_cast<unsigned char>(c)));
  return std::regex(text);
}

}  // namespace

FUZZ_TARGET(split) {
  const std::string delimiter = input.line(), replacement = input.line(), text = input.rest();
  const std::wstring wide = widened(text), wide_delimiter = widened(delimiter);
  const auto same = [](std::string& piece) { return piece; };
  const auto wide_same = [](std::wstring& piece) { return piece; };

  const auto tokens = tokenize(text, delimiter, same);
  HOLDS(join(tokens, delimiter) == text && are_same(tokens, tokenize(wide, wide_delimiter, wide_same)));
  std::string replaced = text;
  std::wstring wide_replaced = wide;
  replace_all(replaced, delimiter, replacement);
  replace_all(wide_replaced, wide_delimiter, widened(replacement));
  HOLDS(replaced == (delimiter.empty() ? text : join(tokens, replacement)) && widened(replaced) == wide_replaced);

  const auto words = split_delim(text, delimiter, same);
  for (const std::string& word : words) HOLDS(!word.empty() && word.find_first_of(delimiter) == std::string::npos);
  HOLDS(are_same(words, split_delim(wide, wide_delimiter, wide_same)));

  if (!delimiter.empty()) {
    const char mark = delimiter.front();
    const auto lines = tokenize(text, mark, same);
    auto pieces = split(text, literally(mark));
    HOLDS(are_same(lines, tokenize(wide, static_cast<wchar_t>(static_cast<unsigned char>(mark)), wide_same)));
    if (text.empty()) pieces.clear();  // the one piece of an empty text, which is no line
    HOLDS(pieces == lines);
  }
  std::string once = text, twice = trim(once);
  HOLDS(trim(twice) == once && text.find(once) != std::string::npos && ends_with(text, ""));
  HOLDS(ends_with(text + delimiter, delimiter) && ends_with(wide + wide_delimiter, wide_delimiter));
}
