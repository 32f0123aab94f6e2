// Octal numbers, such as file modes, that somebody wrote down as decimal ones.
#pragma once

#include "common/export.h"

// The value of the decimal digits of `number` read as octal digits: 755 gives 493. The digits 8 and 9 count as eight
// and nine, and the sign is kept.
LOCALDISK_EXPORT int octalToDecimal(int number);
