// Reading of ISO 8601 date-times that name their zone: "2021-07-01T12:00:00Z", "2021-07-01T14:00:00.5+02:00".
#pragma once

#include <ctime>
#include <istream>

#include "common/export.h"

// Reads the next word of `in`, up to white space, and gives its instant in seconds since 1970-01-01 00:00:00
// UTC, the fraction truncated toward zero. The rest of the stream is left unread, and what follows the zone
// within the word is ignored. Gives 0 for a word that is no such date-time, for a date or time of day that
// doesn't exist, and when there is no word.
//
// An offset is written with a colon, or as hours alone: "+0530" is read as five hours. Seconds take nine characters
// at most, which is a fraction of six digits. The library takes further digits for an offset without a sign, so that
// "12:00:00.1234567Z" counts as seven hours east: senders of finer fractions have to cut them.
//
// Throws std::bad_alloc when memory is exhausted, and std::ios_base::failure where the exception mask of `in`
// asks for it. Whatever else the buffer of `in` throws reads like the end of the stream and turns it bad. The
// process's locale plays no part.
LOCALDISK_EXPORT time_t parse8601(std::istream&& in);

// parse8601 of the text. A null text reads like an empty one.
LOCALDISK_EXPORT time_t RFC3339ToLocalTM(const char* text);
