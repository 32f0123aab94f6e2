// Shifts a time by the local zone's standard offset, for servers whose clock shows local time. Each function
// has a counterpart that shifts nothing, so that a caller switches the shift off by calling the other one.
#pragma once

#include <string>

#include "common/export.h"

// The timestamp text of the instant moved forward by the zone's offset: the local standard-time clock of the
// instant, labelled "Z".
LOCALDISK_EXPORT std::string AdjustOffsetForServerTime(long instant);

// The same as TimeToRFC3339.
LOCALDISK_EXPORT std::string NoAdjustOffsetForServerTime(long instant);

// Reads `text` as RFC3339ToTM does, that is as local standard time, moves the instant back by the zone's offset
// and gives its timestamp text: 12:00 in a zone an hour east of UTC comes out as 10:00. A null text reads like an
// empty one.
LOCALDISK_EXPORT std::string AdjustServerTimeOffset(const char* text);

// A copy of `text`, unchanged, also when it is no timestamp. A null text gives the empty one.
LOCALDISK_EXPORT std::string NoAdjustServerTimeOffset(const char* text);
