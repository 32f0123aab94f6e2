// The forgiving reader of dates as people write them: "yesterday 5pm", "last friday", "2 months ago", "Dec 25".
#pragma once

#include <ctime>
#include <string>

#include "common/export.h"

// Reads the date in `text`: exactly if it is one that parse_date_basic takes, else relative to the current
// local time, of which the text replaces what it mentions. Words that aren't understood are skipped.
//
// Gives 0 and sets `*result` to the UTC fields of the instant. Gives -1 and leaves `*result` alone when nothing in
// the text was understood, or when the instant's year doesn't fit the record. A null text reads like an empty one, in
// which there is nothing to understand; a null `result` is not written.
LOCALDISK_EXPORT int approxidate(const char* text, tm* result);

// The timestamp text, in UTC, of the date in `text`, such as the one of a Last-Modified header. Gives the empty text
// when approxidate understands nothing.
LOCALDISK_EXPORT std::string convert_last_modified_to_rfc3339(std::string text);
