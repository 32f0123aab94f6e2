// printf-style formatting into a string of exactly the length that the output has.
#pragma once

#include <string>

#include "common/export.h"

// The text that printf makes of `format` and the arguments after it, of any length, up to its first NUL
// character. A format or an argument that the system's formatter rejects gives the empty text.
LOCALDISK_EXPORT std::string string_format(std::string format, ...);

// The same for wide text, with the conversions of wprintf: "%ls" takes wide text, "%s" text of the process's locale.
LOCALDISK_EXPORT std::wstring wstring_format(std::wstring format, ...);
