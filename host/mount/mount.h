// The command mount.
#pragma once

#include <filesystem>
#include <string>

#include "host/client/drive.h"

namespace host {

struct MountOptions {
  std::string root, mount_point;  // absolute
  std::filesystem::path cache;    // the folder in which the cache gets one of its own; for temporary files if empty
  bool read_only = false, foreground = false;
};
int mount(Drive& drive, const MountOptions& options);

}  // namespace host
