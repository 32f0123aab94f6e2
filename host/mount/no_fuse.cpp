// The command mount where the host was built without libfuse.
#include "host/client/report.h"
#include "host/mount/mount.h"

namespace host {

int mount(Drive& /*drive*/, const MountOptions& /*options*/) {
  print_error("built without libfuse 3: install it (Debian and Ubuntu: libfuse3-dev and fuse3) and build again");
  return exit_usage;
}

}  // namespace host
