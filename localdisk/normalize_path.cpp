#include "localdisk/normalize_path.h"

#include <cstdlib>
#include <string_view>

#include "localdisk/paths.h"

char* normalize_path(const char* path, unsigned long length) {
  const std::string_view text = path == nullptr ? std::string_view() : std::string_view(path, length);
  auto* const out = static_cast<char*>(std::malloc(localdisk::normalize_room(text.size()) + 1));
  if (out != nullptr) out[localdisk::normalize(text, out)] = '\0';
  return out;
}
