// Brings a path to its normalized form: one separator between components, no "." and no "..".
#pragma once

#include "common/export.h"

// The normalized form of the first `length` bytes of `path`, terminated, in memory from malloc that the caller
// releases with free; null when there is none left. The walk is textual: ".." drops the component before it, links
// are not looked at, and what would climb above the start is dropped. An absolute path stays absolute ("/" at least)
// and a relative one relative (possibly empty). A null path counts as an empty one.
LOCALDISK_EXPORT char* normalize_path(const char* path, unsigned long length);
