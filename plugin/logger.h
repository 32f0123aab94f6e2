// The module-wide binding of the host's logger.
#pragma once

#include <mutex>

#include "common/export.h"
#include "localdisk/host_interfaces.h"

extern "C" {

// The bound logger, null while none is. Not owned. The module reads it without a lock, so bind and unbind only while
// no Upload runs, and keep the logger alive until UnbindLogger has returned.
extern LOCALDISK_EXPORT ILog* logger;

// Orders changes of `logger`.
extern LOCALDISK_EXPORT std::mutex ll;

// Binds `log` in the place of whatever was bound. Null is refused: the answer is false and the binding stays.
LOCALDISK_EXPORT bool BindLogger(ILog* log);

// Takes the binding back; nothing is logged from here on.
LOCALDISK_EXPORT void UnbindLogger();

}  // extern "C"
