#include "host/mount/fuse_requests.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include "host/client/paths.h"
#include "host/mount/fuse_session.h"

namespace host {
namespace {

RequestContext& context(fuse_req_t request) { return *static_cast<RequestContext*>(::fuse_req_userdata(request)); }
DriveFiles& files(fuse_req_t request) { return context(request).files; }

Node& node_of(fuse_req_t request, fuse_ino_t number) {
  return number == FUSE_ROOT_ID ? files(request).table().root() : *reinterpret_cast<Node*>(number);
}

FileHandle& file_of(const fuse_file_info& info) { return OpenHandles<FileHandle>::at(info.fh); }
FolderHandle& folder_of(const fuse_file_info& info) { return OpenHandles<FolderHandle>::at(info.fh); }

void close_file(fuse_req_t request, const fuse_file_info& info) {
  files(request).close(context(request).open_files.release(info.fh));
}

// Runs one operation, which replies where it succeeds; what it throws becomes the errno of the reply.
template <class Body>
void answer(fuse_req_t request, Body&& body) noexcept {
  int reason = EIO;
  try {
    return body();
  } catch (const std::exception& error) {
    reason = errno_of(error);
  } catch (...) {  // NOLINT(bugprone-empty-catch): said by the reply
  }
  ::fuse_reply_err(request, reason);
}

struct stat status_of(const Described& entry) {
  // The protocol knows neither modes nor owners: everything is the mounting user's, and can be run.
  constexpr mode_t mode = 0755;
  constexpr int block = 512;  // the unit of st_blocks
  struct stat status {};
  const Attributes& file = entry.attributes;
  status.st_ino = entry.number;
  status.st_mode = mode | (file.directory ? S_IFDIR : S_IFREG);
  status.st_nlink = entry.is_removed ? 0 : 1;
  static const uid_t user = ::getuid();
  static const gid_t group = ::getgid();
  status.st_uid = user;
  status.st_gid = group;
  status.st_size = file.size;
  status.st_blksize = 4096;
  status.st_blocks = (file.size + block - 1) / block;
  status.st_atime = file.accessed;
  status.st_mtime = file.modified;
  status.st_ctime = file.changed;
  return status;
}

fuse_entry_param entry_of(const Described& entry) {
  fuse_entry_param parameters{};
  parameters.ino = reinterpret_cast<fuse_ino_t>(entry.node);
  parameters.attr = status_of(entry);
  parameters.attr_timeout = parameters.entry_timeout = entry.seconds_left;
  return parameters;
}

void reply_entry(fuse_req_t request, const Described& entry) {
  const fuse_entry_param parameters = entry_of(entry);
  // A reply that nobody gets is no lookup.
  if (::fuse_reply_entry(request, &parameters) != 0) files(request).table().forget(*entry.node, 1);
}

void on_init(void* /*context*/, fuse_conn_info* connection) {
  constexpr unsigned largest_request = 1 << 20;
  connection->max_write = std::min(connection->max_write, largest_request);
  connection->max_readahead = std::max(connection->max_readahead, largest_request);
  constexpr unsigned transfers_at_once = 64;
  connection->max_background = transfers_at_once;
}

void on_lookup(fuse_req_t request, fuse_ino_t folder, const char* name) {
  answer(request, [&] {
    const std::optional<Described> found = files(request).lookup(node_of(request, folder), name);
    if (found) return reply_entry(request, *found);
    fuse_entry_param nothing{};
    nothing.entry_timeout = seconds_to_remember;
    ::fuse_reply_entry(request, &nothing);
  });
}

void on_forget(fuse_req_t request, fuse_ino_t number, std::uint64_t lookups) {
  if (number != FUSE_ROOT_ID) files(request).table().forget(node_of(request, number), lookups);
  ::fuse_reply_none(request);
}

void on_forget_multi(fuse_req_t request, size_t count, fuse_forget_data* forgotten) {
  for (size_t i = 0; i < count; ++i) {
    if (forgotten[i].ino == FUSE_ROOT_ID) continue;
    files(request).table().forget(node_of(request, forgotten[i].ino), forgotten[i].nlookup);
  }
  ::fuse_reply_none(request);
}

void reply_attributes(fuse_req_t request, Node& node) {
  const Described entry = files(request).attributes(node);
  const struct stat status = status_of(entry);
  ::fuse_reply_attr(request, &status, entry.seconds_left);
}

void on_getattr(fuse_req_t request, fuse_ino_t number, fuse_file_info* /*info*/) {
  answer(request, [&] { reply_attributes(request, node_of(request, number)); });
}

NewTimes times_of(const struct stat& wanted, int what) {
  NewTimes times;
  const time_t now = ::time(nullptr);
  if ((what & FUSE_SET_ATTR_ATIME) != 0) times.accessed = wanted.st_atime;
  if ((what & FUSE_SET_ATTR_ATIME_NOW) != 0) times.accessed = now;
  if ((what & FUSE_SET_ATTR_MTIME) != 0) times.modified = wanted.st_mtime;
  if ((what & FUSE_SET_ATTR_MTIME_NOW) != 0) times.modified = now;
  return times;
}

// Programs that copy files set modes and owners as a matter of course, and must not fail for it.
void on_setattr(fuse_req_t request, fuse_ino_t number, struct stat* wanted, int what, fuse_file_info* info) {
  answer(request, [&] {
    Node& node = node_of(request, number);
    if ((what & FUSE_SET_ATTR_SIZE) != 0) {
      files(request).resize(node, info != nullptr ? &file_of(*info) : nullptr, wanted->st_size);
    }
    const NewTimes times = times_of(*wanted, what);
    const bool only_follows = (what & FUSE_SET_ATTR_SIZE) != 0;  // the change of size sets the times itself
    if ((times.accessed || times.modified) && !only_follows) files(request).set_times(node, times);
    reply_attributes(request, node);
  });
}

void on_mkdir(fuse_req_t request, fuse_ino_t folder, const char* name, mode_t /*mode*/) {
  answer(request, [&] { reply_entry(request, files(request).make_folder(node_of(request, folder), name)); });
}

void on_mknod(fuse_req_t request, fuse_ino_t folder, const char* name, mode_t mode, dev_t /*device*/) {
  answer(request, [&] {
    if (!S_ISREG(mode)) throw_errno(EPERM, name);
    reply_entry(request, files(request).make_file(node_of(request, folder), name));
  });
}

void set_up(const FileHandle& handle, fuse_file_info& info) {
  info.keep_cache = handle.keeps_pages ? 1 : 0;
  info.direct_io = handle.is_successor ? 1 : 0;
  info.noflush = handle.writes ? 0 : 1;  // closing what was only read asks for nothing
}

void on_open(fuse_req_t request, fuse_ino_t number, fuse_file_info* info) {
  answer(request, [&] {
    std::unique_ptr<FileHandle> handle = files(request).open(node_of(request, number), info->flags);
    set_up(*handle, *info);
    info->fh = context(request).open_files.keep(std::move(handle));
    if (::fuse_reply_open(request, info) != 0) close_file(request, *info);
  });
}

void on_create(fuse_req_t request, fuse_ino_t folder, const char* name, mode_t /*mode*/, fuse_file_info* info) {
  answer(request, [&] {
    DriveFiles::Created created = files(request).create(node_of(request, folder), name, info->flags);
    set_up(*created.handle, *info);
    info->fh = context(request).open_files.keep(std::move(created.handle));
    const fuse_entry_param parameters = entry_of(created.entry);
    if (::fuse_reply_create(request, &parameters, info) == 0) return;
    close_file(request, *info);
    files(request).table().forget(*created.entry.node, 1);
  });
}

void on_read(fuse_req_t request, fuse_ino_t /*number*/, size_t size, off_t offset, fuse_file_info* info) {
  answer(request, [&] {
    thread_local std::vector<char> buffer;
    if (buffer.size() < size) buffer.resize(size);
    files(request).read(file_of(*info), {buffer.data(), size}, offset, [&](std::span<const char> content) {
      ::fuse_reply_buf(request, content.data(), content.size());
    });
  });
}

void on_write(fuse_req_t request, fuse_ino_t /*number*/, const char* data, size_t size, off_t offset,
              fuse_file_info* info) {
  answer(request, [&] {
    files(request).write(file_of(*info), {data, size}, offset, (info->flags & O_APPEND) != 0);
    ::fuse_reply_write(request, size);
  });
}

// At every close: a program that only reads does not wait for what others write.
void on_flush(fuse_req_t request, fuse_ino_t /*number*/, fuse_file_info* info) {
  answer(request, [&] {
    if (file_of(*info).writes) files(request).flush(file_of(*info));
    ::fuse_reply_err(request, 0);
  });
}

void on_fsync(fuse_req_t request, fuse_ino_t /*number*/, int /*data_only*/, fuse_file_info* info) {
  answer(request, [&] {
    files(request).flush(file_of(*info));
#if defined(__linux__)
    // The protocol has no call that reaches the disk.
    if (const Descriptor& disk = context(request).disk; disk && ::syncfs(disk.get()) != 0) throw_errno(errno, "/");
#endif
    ::fuse_reply_err(request, 0);
  });
}

void on_release(fuse_req_t request, fuse_ino_t /*number*/, fuse_file_info* info) {
  answer(request, [&] {
    close_file(request, *info);
    ::fuse_reply_err(request, 0);
  });
}

void on_opendir(fuse_req_t request, fuse_ino_t number, fuse_file_info* info) {
  answer(request, [&] {
    Node& node = node_of(request, number);
    info->cache_readdir = 1;
    info->keep_cache = files(request).keeps_listing(node) ? 1 : 0;
    info->fh = context(request).open_folders.keep(files(request).open_folder(node));
    if (::fuse_reply_open(request, info) != 0) context(request).open_folders.release(info->fh);
  });
}

// One reply's worth of entries.
class EntryBuffer {
 public:
  EntryBuffer(fuse_req_t request, std::size_t size) : request_(request), bytes_(size) {}

  bool add(const char* name, const struct stat& status, off_t next) {
    return took(::fuse_add_direntry(request_, rest(), left(), name, &status, next));
  }
  bool add_with_attributes(const char* name, const fuse_entry_param& entry, off_t next) {
    return took(::fuse_add_direntry_plus(request_, rest(), left(), name, &entry, next));
  }
  void reply() { ::fuse_reply_buf(request_, bytes_.data(), used_); }

 private:
  [[nodiscard]] char* rest() { return bytes_.data() + used_; }
  [[nodiscard]] std::size_t left() const { return bytes_.size() - used_; }
  bool took(std::size_t size) {
    if (size > left()) return false;
    used_ += size;
    return true;
  }

  fuse_req_t request_;
  std::vector<char> bytes_;
  std::size_t used_ = 0;
};

struct stat kind_and_number(bool is_folder, std::uint64_t number) {
  struct stat status {};
  status.st_mode = is_folder ? S_IFDIR : S_IFREG;
  status.st_ino = number;
  return status;
}

void list(fuse_req_t request, size_t size, off_t offset, fuse_file_info* info, bool with_attributes) {
  answer(request, [&] {
    FolderHandle& handle = folder_of(*info);
    if (offset == 0 || !handle.is_read) files(request).read_folder(handle);
    EntryBuffer buffer(request, size);
    constexpr off_t dots = 2;
    for (off_t i = offset; i < dots; ++i) {
      fuse_entry_param self{};
      const char* const name = i == 0 ? "." : "..";
      self.attr = kind_and_number(true, number_of_path(i == 0 ? handle.path : parent_of(handle.path)));
      with_attributes ? buffer.add_with_attributes(name, self, i + 1) : buffer.add(name, self.attr, i + 1);
    }
    const auto add = [&](std::size_t i, const FolderHandle::Entry& entry, const Described* described) {
      const auto next = static_cast<off_t>(i) + dots + 1;
      fuse_entry_param parameters{};
      if (described != nullptr) {
        parameters = entry_of(*described);
      } else {
        parameters.attr = kind_and_number(entry.attributes.directory, number_of_path(below(handle.path, entry.name)));
      }
      return with_attributes ? buffer.add_with_attributes(entry.name.c_str(), parameters, next)
                             : buffer.add(entry.name.c_str(), parameters.attr, next);
    };
    auto i = static_cast<std::size_t>(std::max(offset, dots) - dots);
    if (with_attributes) {
      files(request).each_entry(handle, i, add);
    } else {
      while (i < handle.entries.size() && add(i, handle.entries[i], nullptr)) ++i;
    }
    buffer.reply();
  });
}

void on_readdir(fuse_req_t request, fuse_ino_t /*number*/, size_t size, off_t offset, fuse_file_info* info) {
  list(request, size, offset, info, /*with_attributes=*/false);
}

void on_readdirplus(fuse_req_t request, fuse_ino_t /*number*/, size_t size, off_t offset, fuse_file_info* info) {
  list(request, size, offset, info, /*with_attributes=*/true);
}

void on_releasedir(fuse_req_t request, fuse_ino_t /*number*/, fuse_file_info* info) {
  answer(request, [&] {
    context(request).open_folders.release(info->fh);
    ::fuse_reply_err(request, 0);
  });
}

void on_unlink(fuse_req_t request, fuse_ino_t folder, const char* name) {
  answer(request, [&] {
    files(request).remove_file(node_of(request, folder), name);
    ::fuse_reply_err(request, 0);
  });
}

void on_rmdir(fuse_req_t request, fuse_ino_t folder, const char* name) {
  answer(request, [&] {
    files(request).remove_folder(node_of(request, folder), name);
    ::fuse_reply_err(request, 0);
  });
}

void on_rename(fuse_req_t request, fuse_ino_t folder, const char* name, fuse_ino_t new_folder, const char* new_name,
               unsigned flags) {
  constexpr unsigned no_replace = 1;
  answer(request, [&] {
    if ((flags & ~no_replace) != 0) throw_errno(EINVAL, new_name);
    files(request).rename(node_of(request, folder), name, node_of(request, new_folder), new_name,
                          (flags & no_replace) == 0);
    ::fuse_reply_err(request, 0);
  });
}

void on_statfs(fuse_req_t request, fuse_ino_t /*number*/) {
  constexpr unsigned block = 4096;
  constexpr unsigned longest_name = 255;
  answer(request, [&] {
    const Quota quota = files(request).volume().value_or(Quota{});
    struct statvfs volume {};
    volume.f_bsize = volume.f_frsize = block;
    volume.f_blocks = quota.total / block;
    volume.f_bfree = volume.f_bavail = (quota.total - std::min(quota.used, quota.total)) / block;
    volume.f_namemax = longest_name;
    ::fuse_reply_statfs(request, &volume);
  });
}

}  // namespace

fuse_lowlevel_ops request_handlers() {
  fuse_lowlevel_ops table{};
  table.init = on_init;
  table.lookup = on_lookup;
  table.forget = on_forget;
  table.forget_multi = on_forget_multi;
  table.getattr = on_getattr;
  table.setattr = on_setattr;
  table.mkdir = on_mkdir;
  table.mknod = on_mknod;
  table.open = on_open;
  table.create = on_create;
  table.read = on_read;
  table.write = on_write;
  table.flush = on_flush;
  table.fsync = on_fsync;
  table.release = on_release;
  table.opendir = on_opendir;
  table.readdir = on_readdir;
  table.readdirplus = on_readdirplus;
  table.releasedir = on_releasedir;
  table.unlink = on_unlink;
  table.rmdir = on_rmdir;
  table.rename = on_rename;
  table.statfs = on_statfs;
  table.symlink = [](fuse_req_t request, const char*, fuse_ino_t, const char*) { ::fuse_reply_err(request, EPERM); };
  table.link = [](fuse_req_t request, fuse_ino_t, fuse_ino_t, const char*) { ::fuse_reply_err(request, EPERM); };
  return table;
}

}  // namespace host
