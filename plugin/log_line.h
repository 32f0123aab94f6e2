// How the module itself logs.
#pragma once

#include "localdisk/host_interfaces.h"

namespace localdisk {

// The bound logger or null, from any thread.
ILog* bound_logger() noexcept;

// Hands one line to `log`, unless that is null. What the logger throws ends here: no operation fails because its log
// line did.
void __LOG__A(ILog* log, LOGLEVEL level, const char* format, ...) __attribute__((format(printf, 3, 4)));

}  // namespace localdisk
