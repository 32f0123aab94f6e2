// Cutting a text at the matches of a regular expression.
#pragma once

#include <regex>
#include <string>
#include <vector>

#include "common/export.h"

// The pieces of `text` between the matches of `expression`, searched from left to right as a
// regular-expression iterator does it. Pieces before a match at the start and between adjacent matches are
// empty and kept; what follows the last match is a piece only if it is not empty. Without any match the whole
// text, empty or not, is the one piece. With "=" that makes "a=" one piece, "=b" two ("" and "b") and "a==b"
// three. Passes on what the search throws.
LOCALDISK_EXPORT std::vector<std::string> split(const std::string& text, const std::regex expression);
LOCALDISK_EXPORT std::vector<std::wstring> split(const std::wstring& text, const std::wregex expression);
