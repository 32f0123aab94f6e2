#include "common/process/process_id.h"

#include <signal.h>
#include <sys/types.h>

bool IsRunningPID(long long id) {
  constexpr int no_signal = 0;  // only the checks are made
  return ::kill(static_cast<pid_t>(id), no_signal) == 0;
}
