// The drive in the file system: libfuse asks, the mapping and the open files answer.
#pragma once

#include <string>

#include "host/mount/open_files.h"
#include "host/mount/rooted_drive.h"

struct fuse;

namespace host {

// Mounted from construction to destruction. A mount that fails throws CommandError.
class FuseSession {
 public:
  FuseSession(RootedDrive& drive, OpenFiles& files, const std::string& mount_point, bool read_only);
  ~FuseSession();
  FuseSession(const FuseSession&) = delete;
  FuseSession& operator=(const FuseSession&) = delete;

  // Goes on in the background.
  void detach();
  // Answers until the drive is unmounted or SIGINT, SIGTERM or SIGHUP asks for the end. What programs do that
  // began before is done then. Answers false for an end that nobody asked for.
  [[nodiscard]] bool serve();

 private:
  struct Served {
    RootedDrive& drive;
    OpenFiles& files;
  };
  friend Served& served();
  Served served_;
  struct fuse* fuse_ = nullptr;
};

}  // namespace host
