#include "host/mount/fuse_session.h"

#include <fcntl.h>

#include <csignal>
#include <memory>

#include "host/client/errors.h"
#include "host/mount/fuse_requests.h"

namespace host {
namespace {

// Transfers keep their thread for as long as they take; what is only looked up must find one all the same.
constexpr unsigned most_threads = 64;

struct ArgumentsReleaser {
  void operator()(fuse_args* arguments) const { ::fuse_opt_free_args(arguments); }
};
struct ConfigReleaser {
  void operator()(fuse_loop_config* config) const { ::fuse_loop_cfg_destroy(config); }
};

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
}

FuseSession::~FuseSession() {
  ::fuse_session_unmount(session_);
  ::fuse_session_destroy(session_);
}

void FuseSession::detach() {
  if (::fuse_daemonize(/*foreground=*/0) != 0) throw CommandError("can't go to the background");
}

bool FuseSession::serve() {
  if (::fuse_set_signal_handlers(session_) != 0) throw CommandError("can't handle signals");
  const std::unique_ptr<fuse_loop_config, ConfigReleaser> config(::fuse_loop_cfg_create());
  ::fuse_loop_cfg_set_max_threads(config.get(), most_threads);
  const int result = ::fuse_session_loop_mt(session_, config.get());
  ::fuse_remove_signal_handlers(session_);
  // What is still to be uploaded must not be cut short by one more signal.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_IGN);
  return result >= 0;
}

}  // namespace host
