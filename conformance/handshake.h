// Before the first text crosses the boundary: records and texts are objects of the standard library, so a module that
// was built for another one than this program reads them wrongly and crashes.
#pragma once

#include <string>

// Why the loaded module and this program can't exchange texts, in one sentence; empty when they can, or when it
// can't be told.
std::string standard_library_mismatch(void* library);
