// The command mount: hands the drive to the program localdisk-mount, which alone needs libfuse.
#pragma once

#include <filesystem>
#include <string>

namespace host {

struct MountOptions {
  std::filesystem::path module;   // the module's file; the default one if empty
  std::string root, mount_point;  // absolute
  std::filesystem::path cache;    // the folder in which the cache gets one of its own; the user's if empty
  bool read_only = false, foreground = false, verbose = false;
};

// SIGINT, SIGTERM and SIGHUP end the process again, but for those that are ignored. To be called before mount: a
// handler that only notes a signal would forget it when the process becomes another program.
void let_signals_end_the_process();

// Becomes localdisk-mount, whose exit code is the command's. Comes back only where that program is missing or can't
// start: says so, and answers the exit code.
int mount(const MountOptions& options);

}  // namespace host
