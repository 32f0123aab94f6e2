// Percent-encoding of text for URLs.
#pragma once

#include <string>

#include "common/export.h"

// `text` with every byte but A to Z, a to z, 0 to 9 and "-._~" as "%XX" in upper-case hexadecimal digits; so
// a space is "%20", and a UTF-8 character one group a byte. "/" stays as it is unless `encode_slash`. `text` must not
// be null.
LOCALDISK_EXPORT std::string URLEncode(const char* text, bool encode_slash);
