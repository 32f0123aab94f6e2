// The command mount where the host was built without libfuse.
#include "host/commands.h"
#include "host/console.h"

namespace host {

int mount(Drive& /*drive*/, const MountOptions& /*options*/) {
  complain("built without libfuse 3: install it (Debian and Ubuntu: libfuse3-dev and fuse3) and build again");
  return exit_usage;
}

}  // namespace host
