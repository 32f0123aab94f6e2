// Where the running program lies.
#pragma once

#include <string>

#include "common/export.h"

// The directory of the running program's executable, that is of the host and not of this module, without a "/" at its
// end. Empty when it isn't known, when the executable's path is longer than 1024 bytes, and for an executable in the
// root directory.
LOCALDISK_EXPORT std::string GetCurrentPath();
