// Base64 with the standard alphabet and padding (RFC 4648), without line breaks.
#pragma once

#include "common/export.h"

// The Base64 text of `length` bytes at `data`. The text belongs to the module, which releases it at the start of the
// next call, whatever that call returns: copy it before, never free it, and keep calls from overlapping. `data` must
// not lie inside the text of the previous call. Returns null for null data, no bytes or exhausted memory.
LOCALDISK_EXPORT char* base64(const unsigned char* data, unsigned long length);
