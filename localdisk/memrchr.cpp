// Without any header of the C library: on Linux <string.h> declares this very name with another result, and memrchr.h
// would give the symbol a second declaration.
#include "common/export.h"

LOCALDISK_EXPORT void* memrchr(const void* bytes, int value, unsigned long count);

void* memrchr(const void* bytes, int value, unsigned long count) {
  const auto* const first = static_cast<const unsigned char*>(bytes);
  const auto wanted = static_cast<unsigned char>(value);
  while (count > 0) {
    --count;
    if (first[count] == wanted) return const_cast<unsigned char*>(first + count);
  }
  return nullptr;
}
