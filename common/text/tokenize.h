// Three ways of cutting a text at delimiters. They differ in the empty pieces; take the one whose rule you need.
//
//                                      ","            "a,"           ",a"           "a,,b"            ""
//   split_delim, any of a set          nothing        "a"            "a"            "a" "b"           nothing
//   tokenize at a character            ""             "a"            "" "a"         "a" "" "b"        nothing
//   tokenize at a string               "" ""          "a" ""         "" "a"         "a" "" "b"        ""
//
// Every piece goes through `transform`, which may change it, and what `transform` returns is stored. A
// transform that holds no callable throws std::bad_function_call at the first piece, so never when there is
// none; what a transform throws itself reaches the caller.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "common/export.h"

// The longest runs of characters that are not in the set `delimiters`; never an empty piece. With an empty set the
// whole text, unless it is empty, is the one piece.
LOCALDISK_EXPORT std::vector<std::string> split_delim(const std::string& text, const std::string& delimiters,
                                                      std::function<std::string(std::string&)> transform);
LOCALDISK_EXPORT std::vector<std::wstring> split_delim(const std::wstring& text, const std::wstring& delimiters,
                                                       std::function<std::wstring(std::wstring&)> transform);

// The pieces that `delimiter` ends, and what follows the last one if it is not empty: the lines of a file.
LOCALDISK_EXPORT std::vector<std::string> tokenize(const std::string& text, char delimiter,
                                                   std::function<std::string(std::string&)> transform);
LOCALDISK_EXPORT std::vector<std::wstring> tokenize(const std::wstring& text, wchar_t delimiter,
                                                    std::function<std::wstring(std::wstring&)> transform);

// The pieces between the occurrences of `delimiter`, taken from the left without overlap: one more than there
// are occurrences, empty or not. An empty delimiter leaves the text whole.
LOCALDISK_EXPORT std::vector<std::string> tokenize(const std::string& text, std::string delimiter,
                                                   std::function<std::string(std::string&)> transform);
LOCALDISK_EXPORT std::vector<std::wstring> tokenize(const std::wstring& text, std::wstring delimiter,
                                                    std::function<std::wstring(std::wstring&)> transform);
