// Strict conversion between UTF-8 and wide text that holds one Unicode code point per character.
//
// Nothing is skipped, replaced or added: a byte-order mark is a character like any other, and a text that is not well
// formed gives no result at all. Code points are 0 to 0x10FFFF without the surrogates 0xD800 to 0xDFFF.
#pragma once

#include <string>

#include "common/export.h"

// Decodes UTF-8. Throws std::range_error, "wstring_convert: from_bytes error", if `text` is ill-formed:
// stray, missing or cut off bytes, longer forms than needed, surrogates, code points that do not exist.
LOCALDISK_EXPORT std::wstring s2ws(const std::string& text);

// Encodes as UTF-8. Throws std::range_error, "wstring_convert: to_bytes error", if a character is no code point.
LOCALDISK_EXPORT std::string ws2s(const std::wstring& text);

// The same for a text that ends at its first NUL; `text` must not be null.
LOCALDISK_EXPORT std::string wchar2utf8(const wchar_t* text);
