#include "localdisk/normalize_path.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// While components are kept, each has its divider before it: a relative path needs one byte more than it
// holds.
constexpr std::size_t room_for(std::size_t length) { return length + 1; }

// Writes the plain form of `path` into `out`, which has room_for(path.size()) bytes, and answers its length.
std::size_t normalize(std::string_view path, char* out) {
  if (path.empty()) return 0;
  std::size_t kept = 0;
  for (std::size_t start = 0; start < path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    const std::string_view component = path.substr(start, end - start);
    start = end + 1;
    if (component.empty() || component == ".") continue;
    if (component == "..") {
      while (kept > 0 && out[--kept] != '/') {
      }
      continue;
    }
    out[kept++] = '/';
    std::memcpy(out + kept, component.data(), component.size());
    kept += component.size();
  }
  if (kept == 0) out[kept++] = '/';
  if (path.front() == '/') return kept;
  std::memmove(out, out + 1, --kept);
  return kept;
}

}  // namespace

char* normalize_path(const char* path, unsigned long length) {
  const std::string_view text = path == nullptr ? std::string_view() : std::string_view(path, length);
  auto* out = static_cast<char*>(std::malloc(room_for(text.size()) + 1));
  if (out != nullptr) out[normalize(text, out)] = '\0';
  return out;
}

std::string localdisk::normalized(std::string_view path) {
  std::string out(room_for(path.size()), '\0');
  out.resize(normalize(path, out.data()));
  return out;
}
