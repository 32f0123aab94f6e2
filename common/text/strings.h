// Small everyday operations on whole strings. Lengths and comparisons are in code units; nothing here looks
// at UTF-8, and nothing depends on the process's locale.
#pragma once

#include <string>

#include "common/export.h"

// Removes the white space at both ends of `text`, in place, and returns `text`. White space is the space,
// tab, line feed, vertical tab, form feed and carriage return; a byte from 0x80 on never is, so that UTF-8
// stays whole.
LOCALDISK_EXPORT std::string& trim(std::string& text);
