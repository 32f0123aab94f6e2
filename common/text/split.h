// Cutting a text at the matches of a regular expression.
#pragma once

#include <regex>
#include <string>
#include <vector>

#include "common/export.h"

// The pieces of `text` between the matches of `expression`, searched from left to right as a regular-expression
// iterator does it. Pieces before a match at the start and between adjacent matches are empty and kept; what follows
// the last match is a piece only if it is not empty. Without any match the whole text, empty or not, is the one
// piece. With "=" that makes "a=" one piece, "=b" two ("" and "b") and "a==b" three. Passes on what the search
// throws.
//
// Some standard libraries search by recursion: a repetition such as "\s+" then takes stack in proportion to the
// run that it matches, about 300 bytes a character, and a run of 25000 blanks overflows a stack of 8 MB. For texts
// that others may choose, take an expression without repetitions, or split_delim or tokenize of tokenize.h.
LOCALDISK_EXPORT std::vector<std::string> split(const std::string& text, const std::regex expression);
LOCALDISK_EXPORT std::vector<std::wstring> split(const std::wstring& text, const std::wregex expression);
