// Asking for other processes.
#pragma once

#include "common/export.h"

// Whether the process `id` exists and this process may signal it; one of another user counts as not running. The id
// is cut down to the width of the system's ids, and those that the system gives a meaning of their own keep it: 0
// asks for the caller's process group, -1 for any process that may be signalled, others below 0 for a group.
LOCALDISK_EXPORT bool IsRunningPID(long long id);
