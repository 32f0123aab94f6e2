// Small everyday operations on whole strings. Lengths and comparisons are in code units; nothing here looks at UTF-8,
// and nothing depends on the process's locale.
#pragma once

#include <string>
#include <vector>

#include "common/export.h"

// Replaces every occurrence of `searched` in `text` by `replacement`, leftmost first and without looking into
// what was inserted, in time linear in the text and the result. An empty `searched` changes nothing. The
// arguments may be one object; when memory runs out, `text` is as it was.
LOCALDISK_EXPORT void replace_all(std::string& text, const std::string& searched, const std::string& replacement);
LOCALDISK_EXPORT void replace_all(std::wstring& text, const std::wstring& searched, const std::wstring& replacement);

// The items with `separator` between them. Throws std::out_of_range for an empty list.
LOCALDISK_EXPORT std::string join(const std::vector<std::string>& items, std::string separator);

// Removes the white space at both ends of `text`, in place, and returns `text`. White space is the space, tab, line
// feed, vertical tab, form feed and carriage return; a byte from 0x80 on never is, so that UTF-8 stays whole.
LOCALDISK_EXPORT std::string& trim(std::string& text);

// Whether `text` ends in exactly the characters of `ending`; the empty ending always fits.
LOCALDISK_EXPORT bool ends_with(const std::string& text, const std::string& ending);
LOCALDISK_EXPORT bool ends_with(const std::wstring& text, const std::wstring& ending);
