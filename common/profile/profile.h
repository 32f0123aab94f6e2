// Settings from profile files: plain text with lines "key=value" under headers "[section]".
//
// How a file is read. Lines are taken in parts of at most 2047 bytes, each a line of its own; a NUL byte hides what
// follows it in its part; white space at both ends goes. A header has nothing outside its brackets, and white space
// inside them goes too. Only the first section of the requested name counts, and it ends where a line starts with
// "[". In it, a key is all that stands before the first "=", spaces included, and its value all that follows up to
// another "=" or the end of the line. A line "key=" without anything behind it is no setting and is passed over like
// any line that has no "="; "key==" sets the empty value. Of several settings of the key only the first counts. Names
// are compared without regard to the case of ASCII letters as the process's C locale has it; the requested section
// loses the white space at its ends, the requested key does not.
//
// Nothing is kept between calls, which may come from several threads at once. A file that can't be read to its end
// counts as ending there. Exhausted memory throws std::bad_alloc.
#pragma once

#include <string>

#include "common/export.h"

// Puts the value of `key` in `section` of `file`, with a terminating NUL, into the `size` bytes at `destination`, and
// returns its length without the NUL. Where there is no value, or it is empty or doesn't fit, `default_value` takes
// its place. If that doesn't fit either, the result is 0, and at most the NUL of an empty value has been written:
// nothing is ever cut short. A null `destination` or a `size` of 0 or less gives 0 at once.
LOCALDISK_EXPORT unsigned int GetPrivateProfileString(std::string section, std::string key, std::string default_value,
                                                      char* destination, int size, std::string file);

// The value of `key` in `section` of `file` as a decimal number: white space, a sign and digits are read, the rest is
// ignored, and 0 is what no digits give. A negative number comes back as its two's complement; one that is too large
// saturates at the ends of a long, of which the lower 32 bits are returned. `default_value` is the answer only when
// the file can't be opened: an absent section or key gives 0.
LOCALDISK_EXPORT unsigned int GetPrivateProfileInt(std::string section, std::string key, unsigned int default_value,
                                                   std::string file);
