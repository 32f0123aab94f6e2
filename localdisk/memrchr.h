// The module's byte search from the end.
//
// The Linux C library declares functions of the same name and arguments with another result, so the export can't be
// declared under its own name beside <cstring>; here it has a name of its own that leads to the same symbol.
#pragma once

#include "common/export.h"

#if defined(__APPLE__)
#define LOCALDISK_MEMRCHR_SYMBOL "__Z7memrchrPKvim"
#else
#define LOCALDISK_MEMRCHR_SYMBOL "_Z7memrchrPKvim"
#endif

namespace localdisk {

// The last of the first `count` bytes at `bytes` that equals `value` as an unsigned char, or null.
LOCALDISK_EXPORT void* memrchr(const void* bytes, int value, unsigned long count) __asm__(LOCALDISK_MEMRCHR_SYMBOL);

}  // namespace localdisk

#undef LOCALDISK_MEMRCHR_SYMBOL
