// Matching file names against wildcard expressions.
//
//   *    any run of characters, also none
//   ?    any one character
//   >    any one character, but nothing in front of the name's last dot
//   "    a dot or nothing
//   <    any run of characters before the name's last dot, never the dot; behind it, or without one, any run
//
// Every other character, the dot included, stands for itself; there is no escape character. An expression has to
// cover the whole name. A "?" or ">" at the end of the name takes a position behind it, after which nothing fits but
// a "*" that ends the expression: "?*" fits the empty name.
#pragma once

#include "common/export.h"

// Whether `name` fits `expression`; both are NUL-terminated and not null. With `ignore_case`, characters that the
// process's locale maps to one upper-case character count as equal. Takes time in proportion to the product of the
// two lengths at worst, and no memory.
LOCALDISK_EXPORT bool IsNameInExpression(const wchar_t* expression, const wchar_t* name, bool ignore_case);

// The same for bytes. Bytes from 0x80 on never change case, so that UTF-8 names compare as they are.
LOCALDISK_EXPORT bool IsNameInExpressionA(const char* expression, const char* name, bool ignore_case);
