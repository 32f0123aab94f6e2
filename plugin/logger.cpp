#include "plugin/logger.h"

#include "localdisk/catch_all.h"
#include "localdisk/shared_value.h"

// Both stay in plain types, as the host knows them; `ll` needs no code at load where the standard library's mutex
// is made of constants.
ILog* logger = nullptr;
std::mutex ll;

namespace {

// False when the system refuses the lock, which leaves the binding as it was.
bool bind(ILog* log) {
  return localdisk::catch_all(false, [log] {
    const std::lock_guard lock(ll);
    localdisk::store_shared(logger, log);
    return true;
  });
}

}  // namespace

bool BindLogger(ILog* log) { return log != nullptr && bind(log); }

void UnbindLogger() { bind(nullptr); }
