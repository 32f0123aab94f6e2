#include "host/mount/fuse_session.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <fstream>
#include <memory>

#if defined(__linux__)
#include <sys/stat.h>
#endif

#include "host/client/errors.h"
#include "host/mount/fuse_requests.h"
#include "host/mount/request_loop.h"

namespace host {
namespace {

struct ArgumentsReleaser {
  void operator()(fuse_args* arguments) const { ::fuse_opt_free_args(arguments); }
};

// Reads of long files come in requests of 128 KiB, unless more is allowed where only an administrator may write; for
// everybody else it stays at that. Longer ones than these no longer fit the processor's cache.
void allow_long_requests([[maybe_unused]] const std::string& mount_point) {
#if defined(__linux__)
  constexpr int kibibytes = 256;
  struct statx known {};  // without a request, for nobody answers yet
  if (::statx(AT_FDCWD, mount_point.c_str(), AT_STATX_DONT_SYNC, 0, &known) != 0) return;
  std::ofstream(fmt::format("/sys/class/bdi/{}:{}/read_ahead_kb", known.stx_dev_major, known.stx_dev_minor))
      << kibibytes;
#endif
}

}  // namespace

FuseSession::FuseSession(DriveFiles& files, const std::string& root, const std::string& mount_point, bool read_only)
    : context_{.files = files, .disk = Descriptor(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))} {
  const fuse_lowlevel_ops operations = request_handlers();
  fuse_args arguments = FUSE_ARGS_INIT(0, nullptr);
  const std::unique_ptr<fuse_args, ArgumentsReleaser> released(&arguments);
  ::fuse_opt_add_arg(&arguments, "localdisk-host");
  ::fuse_opt_add_arg(&arguments, read_only ? "-oro,fsname=localdisk" : "-ofsname=localdisk");
  session_ = ::fuse_session_new(&arguments, &operations, sizeof operations, &context_);
  if (session_ == nullptr) throw CommandError("libfuse refuses to work");
  if (::fuse_session_mount(session_, mount_point.c_str()) != 0) {
    ::fuse_session_destroy(session_);
    throw CommandError("can't mount at " + mount_point);
  }
  allow_long_requests(mount_point);
}

FuseSession::~FuseSession() {
  ::fuse_session_unmount(session_);
  ::fuse_session_destroy(session_);
}

void FuseSession::detach() {
  if (::fuse_daemonize(/*foreground=*/0) != 0) throw CommandError("can't go to the background");
}

bool FuseSession::serve(const EndSignals& signals) { return RequestLoop(session_, signals).run(); }

}  // namespace host
