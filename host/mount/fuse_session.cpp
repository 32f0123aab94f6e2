#define FUSE_USE_VERSION 312
#include "host/mount/fuse_session.h"

#include <fcntl.h>
#include <fuse.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <string_view>

#include "host/client/errors.h"
#include "host/client/paths.h"

namespace host {

FuseSession::Served& served() { return *static_cast<FuseSession::Served*>(::fuse_get_context()->private_data); }

namespace {

// What other programs change in the root folder shows on the drive within this time.
constexpr double seconds_to_remember = 0.2;
// Transfers keep their thread for as long as they take; what is only looked up must find one all the same.
constexpr unsigned most_threads = 64;

// What libfuse keeps for us from open to release.
struct OpenHandle {
  std::shared_ptr<OpenFile> file;
  bool writes;
};

OpenHandle& handle_of(const fuse_file_info& info) { return *reinterpret_cast<OpenHandle*>(info.fh); }

bool writes(int flags) { return (flags & O_ACCMODE) != O_RDONLY || (flags & O_TRUNC) != 0; }

void hand_out(std::shared_ptr<OpenFile> file, fuse_file_info& info) {
  auto handle = std::make_unique<OpenHandle>(OpenHandle{std::move(file), writes(info.flags)});
  info.fh = reinterpret_cast<std::uint64_t>(handle.release());
}

// Runs one operation; what it throws becomes the negative errno that libfuse takes.
template <class Body>
int answer(Body&& body) noexcept {
  try {
    if constexpr (std::is_void_v<decltype(body())>) {
      body();
      return 0;
    } else {
      return body();
    }
  } catch (const std::exception& error) {
    return -errno_of(error);
  } catch (...) {
    return -EIO;
  }
}

void describe(const Attributes& file, struct stat& status) {
  // The protocol knows neither modes nor owners: everything is the mounting user's, and can be run.
  constexpr mode_t mode = 0755;
  constexpr int block = 512;  // the unit of st_blocks
  status = {};
  status.st_mode = mode | (file.directory ? S_IFDIR : S_IFREG);
  status.st_nlink = 1;
  status.st_uid = ::getuid();
  status.st_gid = ::getgid();
  status.st_size = file.size;
  status.st_blocks = (file.size + block - 1) / block;
  status.st_atime = file.accessed;
  status.st_mtime = file.modified;
  status.st_ctime = file.changed;
}

void* on_init(fuse_conn_info* /*connection*/, fuse_config* config) {
  config->attr_timeout = config->entry_timeout = seconds_to_remember;
  config->negative_timeout = 0;
  config->nullpath_ok = 1;
  return ::fuse_get_context()->private_data;
}

// Asked about an open file libfuse gives no path.
int on_getattr(const char* path, struct stat* status, fuse_file_info* info) {
  return answer([&] {
    describe(path != nullptr ? served().files.attributes(path) : handle_of(*info).file->attributes(), *status);
  });
}

int on_opendir(const char* path, fuse_file_info* info) {
  return answer([&] { hand_out(served().files.open(path), *info); });
}

int on_readdir(const char* /*path*/, void* buffer, fuse_fill_dir_t fill, off_t /*offset*/, fuse_file_info* info,
               fuse_readdir_flags /*flags*/) {
  return answer([&] {
    const auto add = [&](const char* name, bool directory) {
      struct stat status {};
      status.st_mode = directory ? S_IFDIR : S_IFREG;
      if (fill(buffer, name, &status, 0, fuse_fill_dir_flags{}) != 0) throw std::bad_alloc();
    };
    add(".", true);
    add("..", true);
    handle_of(*info).file->list([&](const std::string& name, bool directory) { add(name.c_str(), directory); });
  });
}

void open_file(const std::string& path, fuse_file_info& info) {
  std::shared_ptr<OpenFile> file = served().files.open(path);
  try {
    const bool truncates = (info.flags & O_TRUNC) != 0;
    const bool reads = (info.flags & O_ACCMODE) != O_WRONLY && !truncates;
    if (!file->cached_attributes()) {
      const Attributes found = served().drive.attributes(path);
      if (reads) served().drive.expect_readable(path, found);
    }
    if (truncates) file->resize(0);
    hand_out(file, info);
  } catch (...) {
    served().files.close(*file);
    throw;
  }
}

int on_open(const char* path, fuse_file_info* info) {
  return answer([&] { open_file(path, *info); });
}

bool exists(const std::string& path) {
  try {
    served().files.attributes(path);
    return true;
  } catch (const std::exception& error) {
    if (errno_of(error) == ENOENT) return false;
    throw;
  }
}

int on_create(const char* path, mode_t /*mode*/, fuse_file_info* info) {
  return answer([&] {
    if (!exists(path)) return hand_out(served().files.create(path), *info);
    if ((info->flags & O_EXCL) != 0) throw_errno(EEXIST, path);
    open_file(path, *info);
  });
}

int on_mknod(const char* path, mode_t mode, dev_t /*device*/) {
  return answer([&] {
    if (!S_ISREG(mode)) throw_errno(EPERM, path);
    if (exists(path)) throw_errno(EEXIST, path);
    served().drive.create_file(path);
  });
}

int on_read(const char* /*path*/, char* buffer, size_t size, off_t offset, fuse_file_info* info) {
  return answer([&] { return static_cast<int>(handle_of(*info).file->read({buffer, size}, offset)); });
}

int on_write(const char* /*path*/, const char* data, size_t size, off_t offset, fuse_file_info* info) {
  return answer([&] {
    handle_of(*info).file->write({data, size}, offset);
    return static_cast<int>(size);
  });
}

// At every close: a program that only reads does not wait for what others write.
int on_flush(const char* /*path*/, fuse_file_info* info) {
  return answer([&] {
    if (handle_of(*info).writes) handle_of(*info).file->flush();
  });
}

int on_fsync(const char* /*path*/, int /*data_only*/, fuse_file_info* info) {
  return answer([&] { handle_of(*info).file->flush(); });
}

int on_release(const char* /*path*/, fuse_file_info* info) {
  const std::unique_ptr<OpenHandle> handle(&handle_of(*info));
  return answer([&] { served().files.close(*handle->file); });
}

int on_truncate(const char* path, off_t size, fuse_file_info* info) {
  return answer([&] { info != nullptr ? handle_of(*info).file->resize(size) : served().files.resize(path, size); });
}

int on_utimens(const char* path, const timespec times[2], fuse_file_info* info) {
  const auto chosen = [](const timespec& time) -> std::optional<time_t> {
    if (time.tv_nsec == UTIME_OMIT) return std::nullopt;
    return time.tv_nsec == UTIME_NOW ? ::time(nullptr) : time.tv_sec;
  };
  return answer([&] {
    const NewTimes wanted{chosen(times[0]), chosen(times[1])};
    info != nullptr ? handle_of(*info).file->set_times(wanted) : served().files.set_times(path, wanted);
  });
}

int on_mkdir(const char* path, mode_t /*mode*/) {
  return answer([&] { served().drive.create_directory(path); });
}

int on_unlink(const char* path) {
  return answer([&] { served().files.remove(path); });
}

int on_rmdir(const char* path) {
  return answer([&] { served().files.remove_directory(path); });
}

// libfuse gives an open file such a name beside its own instead of removing it, and removes that after the last
// close. Here the file goes at once. By our count it may be closed already: ours is down a moment earlier.
bool stands_for_removal(const std::string& from, const std::string& to) {
  constexpr std::string_view prefix = ".fuse_hidden";
  constexpr std::size_t digits = 16;
  const std::string name = name_of(to);
  return parent_of(from) == parent_of(to) && name.size() == prefix.size() + digits &&
         name.compare(0, prefix.size(), prefix) == 0 &&
         name.find_first_not_of("0123456789abcdef", prefix.size()) == std::string::npos;
}

int on_rename(const char* from, const char* to, unsigned flags) {
  constexpr unsigned no_replace = 1;
  return answer([&] {
    if ((flags & ~no_replace) != 0) throw_errno(EINVAL, to);
    if ((flags & no_replace) != 0 && exists(to)) throw_errno(EEXIST, to);
    OpenFiles& files = served().files;
    stands_for_removal(from, to) ? files.remove(from, to) : files.move(from, to);
  });
}

int on_statfs(const char* /*path*/, struct statvfs* volume) {
  constexpr unsigned block = 4096;
  constexpr unsigned longest_name = 255;
  return answer([&] {
    const Quota quota = served().drive.volume().value_or(Quota{});
    *volume = {};
    volume->f_bsize = volume->f_frsize = block;
    volume->f_blocks = quota.total / block;
    volume->f_bfree = volume->f_bavail = (quota.total - std::min(quota.used, quota.total)) / block;
    volume->f_namemax = longest_name;
  });
}

fuse_operations operations() {
  fuse_operations table{};
  table.init = on_init;
  table.getattr = on_getattr;
  table.opendir = on_opendir;
  table.readdir = on_readdir;
  table.releasedir = on_release;
  table.open = on_open;
  table.create = on_create;
  table.mknod = on_mknod;
  table.read = on_read;
  table.write = on_write;
  table.flush = on_flush;
  table.fsync = on_fsync;
  table.release = on_release;
  table.truncate = on_truncate;
  table.utimens = on_utimens;
  table.mkdir = on_mkdir;
  table.unlink = on_unlink;
  table.rmdir = on_rmdir;
  table.rename = on_rename;
  table.statfs = on_statfs;
  // Programs that copy files set these as a matter of course, and must not fail for it.
  table.chmod = [](const char*, mode_t, fuse_file_info*) { return 0; };
  table.chown = [](const char*, uid_t, gid_t, fuse_file_info*) { return 0; };
  table.symlink = [](const char*, const char*) { return -EPERM; };
  table.link = [](const char*, const char*) { return -EPERM; };
  return table;
}

struct ArgumentsReleaser {
  void operator()(fuse_args* arguments) const { ::fuse_opt_free_args(arguments); }
};
struct ConfigReleaser {
  void operator()(fuse_loop_config* config) const { ::fuse_loop_cfg_destroy(config); }
};

}  // namespace

FuseSession::FuseSession(RootedDrive& drive, OpenFiles& files, const std::string& mount_point, bool read_only)
    : served_{drive, files} {
  const fuse_operations table = operations();
  fuse_args arguments = FUSE_ARGS_INIT(0, nullptr);
  const std::unique_ptr<fuse_args, ArgumentsReleaser> released(&arguments);
  ::fuse_opt_add_arg(&arguments, "localdisk-host");
  ::fuse_opt_add_arg(&arguments, read_only ? "-oro,fsname=localdisk" : "-ofsname=localdisk");
  fuse_ = ::fuse_new(&arguments, &table, sizeof table, &served_);
  if (fuse_ == nullptr) throw CommandError("libfuse refuses to work");
  if (::fuse_mount(fuse_, mount_point.c_str()) != 0) {
    ::fuse_destroy(fuse_);
    throw CommandError("can't mount at " + mount_point);
  }
}

FuseSession::~FuseSession() {
  ::fuse_unmount(fuse_);
  ::fuse_destroy(fuse_);
}

void FuseSession::detach() {
  if (::fuse_daemonize(/*foreground=*/0) != 0) throw CommandError("can't go to the background");
}

bool FuseSession::serve() {
  fuse_session* const session = ::fuse_get_session(fuse_);
  if (::fuse_set_signal_handlers(session) != 0) throw CommandError("can't handle signals");
  const std::unique_ptr<fuse_loop_config, ConfigReleaser> config(::fuse_loop_cfg_create());
  ::fuse_loop_cfg_set_max_threads(config.get(), most_threads);
  const int result = ::fuse_loop_mt(fuse_, config.get());
  ::fuse_remove_signal_handlers(session);
  return result >= 0;
}

}  // namespace host
