// The drive in the file system: libfuse asks, the drive's files answer.
#pragma once

#include <filesystem>
#include <string>

#include "host/mount/drive_files.h"
#include "host/mount/end_signals.h"
#include "host/mount/open_handles.h"

struct fuse_session;

namespace host {

// What the requests of one session work on.
struct RequestContext {
  DriveFiles& files;
  Descriptor disk;  // the root folder, where it is one of this machine: what fsync brings to the disk
  OpenHandles<FileHandle> open_files{};
  OpenHandles<FolderHandle> open_folders{};
};

// Mounted from construction to destruction. A mount that fails throws CommandError.
class FuseSession {
 public:
  FuseSession(DriveFiles& files, const std::string& root, const std::string& mount_point, bool read_only);
  ~FuseSession();
  FuseSession(const FuseSession&) = delete;
  FuseSession& operator=(const FuseSession&) = delete;

  // Goes on in the background.
  void detach();
  // Answers until the drive is unmounted or a signal asks for the end. What programs do that began before is done
  // then. Answers false for an end that nobody asked for.
  [[nodiscard]] bool serve(const EndSignals& signals);

 private:
  RequestContext context_;
  fuse_session* session_ = nullptr;
};

}  // namespace host
