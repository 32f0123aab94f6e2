// Random identifiers.
#pragma once

#include <string>

#include "common/export.h"

// A new random UUID (version 4) as 36 characters, hexadecimal digits in groups of 8-4-4-4-12 with "-" between
// them. The case of the digits is the system's: lower on Linux, upper on macOS.
LOCALDISK_EXPORT std::string NewUUID();
