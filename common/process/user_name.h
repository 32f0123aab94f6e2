// Who the process runs as.
#pragma once

#include <string>

#include "common/export.h"

// The login name of the process's real user; empty when the user has no entry among the system's users or the look-up
// fails. May be called from several threads at once: nothing of it lies in storage that the process shares.
LOCALDISK_EXPORT std::string GetUserName();
