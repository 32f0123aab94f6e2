#include "plugin/logger.h"

#include <cstdarg>

#include "localdisk/shared_value.h"

// Both stay in plain types, as the host knows them; `ll` needs no code at load where the standard library's
// mutex is made of constants.
ILog* logger = nullptr;
std::mutex ll;

namespace {

// False when the lock can't be had, which leaves the binding as it was.
bool bind(ILog* log) noexcept {
  try {
    const std::lock_guard lock(ll);
    localdisk::store_shared(logger, log);
    return true;
  } catch (...) {  // a mutex that the system refuses; there is no one to tell but the caller
    return false;
  }
}

}  // namespace

bool BindLogger(ILog* log) { return log != nullptr && bind(log); }

void UnbindLogger() { bind(nullptr); }

ILog* bound_logger() noexcept { return localdisk::load_shared(logger); }

void __LOG__A(ILog* log, LOGLEVEL level, const char* format, ...) noexcept {
  if (log == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  try {
    log->LogV(level, format, arguments);
  } catch (...) {  // a lost line is the logger's own affair
  }
  va_end(arguments);
}
