// One spelling for the many that a path can have.
#pragma once

#include <string>

#include "common/export.h"

// The components of `path`, a NUL-terminated text of any encoding, joined by single "/": both "/" and "\" separate
// them, empty ones and "." are left out, ".." takes back the component before it, if there is one. The result never
// begins or ends with a separator, not even for an absolute path, and is empty when no component is left:
// "C:\a\..\b//c/" gives "C:/b/c". Letter case is kept, and the disk is not asked. A null `path` gives the empty text.
LOCALDISK_EXPORT std::string ToExactPath(const char* path);
