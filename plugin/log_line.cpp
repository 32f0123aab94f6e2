#include "plugin/log_line.h"

#include <cstdarg>

#include "localdisk/catch_all.h"
#include "localdisk/shared_value.h"
#include "plugin/logger.h"

ILog* localdisk::bound_logger() noexcept { return load_shared(logger); }

void localdisk::__LOG__A(ILog* log, LOGLEVEL level, const char* format, ...) {
  if (log == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  catch_all(false, [&] {
    log->LogV(level, format, arguments);
    return true;
  });
  va_end(arguments);
}
