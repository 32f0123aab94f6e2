// A folder of the module's storage as a mounted drive, from the first check to the last upload.
#pragma once

#include <string>

#include "host/client/drive.h"
#include "host/mount/mount.h"

namespace host {

// Answers the exit code once the drive is unmounted. What can't be mounted throws. `module` names the protocol:
// paths of "localdisk" are those of this machine.
int run_drive(Drive& drive, const MountOptions& options, const std::string& module);

}  // namespace host
