#include "common/text/strings.h"

#include <stdexcept>
#include <string_view>

#include "common/text/ascii.h"
#include "common/text/search.h"

namespace {

// Builds the result beside the text: that keeps it linear, and the searched text or the replacement may be
// the text.
template <class String>
void replace_every(String& text, const String& searched, const String& replacement) {
  if (searched.empty()) return;
  const localdisk::Searcher searcher(searched);
  std::size_t found = searcher.find(text, 0);
  if (found == String::npos) return;

  String result;
  std::size_t copied = 0;
  for (; found != String::npos; found = searcher.find(text, copied)) {
    result.append(text, copied, found - copied).append(replacement);
    copied = found + searched.size();
  }
  result.append(text, copied);
  text = std::move(result);
}

}  // namespace

void replace_all(std::string& text, const std::string& searched, const std::string& replacement) {
  replace_every(text, searched, replacement);
}

void replace_all(std::wstring& text, const std::wstring& searched, const std::wstring& replacement) {
  replace_every(text, searched, replacement);
}

std::string join(const std::vector<std::string>& items, std::string separator) {
  if (items.empty()) throw std::out_of_range("join: the list is empty");
  std::size_t length = separator.size() * (items.size() - 1);
  for (const std::string& item : items) length += item.size();

  std::string joined;
  joined.reserve(length);
  joined += items.front();
  for (std::size_t i = 1; i < items.size(); ++i) joined.append(separator).append(items[i]);
  return joined;
}

std::string& trim(std::string& text) {
  const std::string_view kept = localdisk::trimmed(text);
  const auto start = static_cast<std::size_t>(kept.data() - text.data());
  text.erase(start + kept.size());
  text.erase(0, start);
  return text;
}

bool ends_with(const std::string& text, const std::string& ending) { return text.ends_with(ending); }
bool ends_with(const std::wstring& text, const std::wstring& ending) { return text.ends_with(ending); }
