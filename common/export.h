// The one mark of what leaves the module. Everything without it is compiled hidden; what the linker then lets out is
// listed by name in cmake/exports.txt, and both must agree.
#pragma once

#if defined(__GNUC__)
#define LOCALDISK_EXPORT __attribute__((visibility("default")))
#else
#define LOCALDISK_EXPORT
#endif
