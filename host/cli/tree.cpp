#include "host/cli/tree.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>

#include "host/client/paths.h"
#include "host/client/times.h"

namespace host {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void throw_errno(int reason, const std::string& path) {
  throw std::system_error(reason, std::generic_category(), path);
}

void expect(bool good, const std::string& path) {
  if (!good) throw_errno(errno, path);
}

const char* what_it_is(mode_t mode) {
  if (S_ISFIFO(mode)) return "a pipe";
  if (S_ISSOCK(mode)) return "a socket";
  return "a device";
}

std::optional<Entry> find_local(const std::string& path) {
  struct stat status {};
  Entry entry;
  entry.name = name_of(path);
  if (::lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
    throw_errno(errno, path);
  }
  const bool is_link = S_ISLNK(status.st_mode);
  if (is_link && ::stat(path.c_str(), &status) != 0) {
    entry.kind = Kind::other;
    entry.what = "a link that leads nowhere";
    return entry;
  }
  entry.size = status.st_size;
  entry.modified = status.st_mtime;
  if (S_ISDIR(status.st_mode)) {
    entry.kind = is_link ? Kind::folder_link : Kind::folder;
  } else if (!S_ISREG(status.st_mode)) {
    entry.kind = Kind::other;
    entry.what = what_it_is(status.st_mode);
  }
  return entry;
}

_FS_FILE_V2 record_of(const std::string& path, bool folder) {
  _FS_FILE_V2 record;
  record.path = path;
  record.type = folder ? FS_TYPE_DIRECTORY : FS_TYPE_FILE;
  return record;
}

}  // namespace

std::string temporary_name() {
  static std::random_device random;
  return fmt::format(".localdisk-{:08x}{:08x}.part", random(), random());
}

std::optional<FileIdentity> Tree::identity(const std::string& path) const {
  struct stat status {};
  if (!is_local() || ::stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

void LocalTree::list(const std::string& folder, const Visit& visit) {
  try {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
      // What is gone since it was listed is no entry.
      if (const std::optional<Entry> found = find_local(below(folder, entry.path().filename().string())))
        visit(*found);
    }
  } catch (const fs::filesystem_error& error) {
    throw std::system_error(error.code(), folder);
  }
}

std::optional<Entry> LocalTree::find(const std::string& path) { return find_local(path); }

Entry LocalTree::examine(const std::string& path) {
  std::optional<Entry> entry = find_local(path);
  if (!entry) throw_errno(ENOENT, path);
  return *std::move(entry);
}

void LocalTree::make_folder(const std::string& path) { expect(::mkdir(path.c_str(), 0777) == 0, path); }

void LocalTree::set_modified(const std::string& path, time_t modified) {
  const std::array<timespec, 2> times{{{0, UTIME_OMIT}, {modified, 0}}};
  expect(::utimensat(AT_FDCWD, path.c_str(), times.data(), 0) == 0, path);
}

void LocalTree::move(const std::string& from, const std::string& to, const Entry& /*entry*/) {
  expect(::rename(from.c_str(), to.c_str()) == 0, from);
}

void LocalTree::remove(const std::string& path, const Entry& /*entry*/) { expect(::remove(path.c_str()) == 0, path); }

Entry DriveTree::entry_of(const _FS_FILE_V2& file, const std::string& path) {
  Entry entry;
  entry.name = file.name;
  entry.kind = file.type == FS_TYPE_DIRECTORY ? Kind::folder : Kind::file;
  entry.size = file.size;
  entry.record_time = file.mtime;
  entry.modified = parse_record_time(file.mtime);
  if (!local_) return entry;
  const std::optional<Entry> here = find_local(path);
  if (here && (here->kind == Kind::other || is_folder(*here) == is_folder(entry))) {
    entry.kind = here->kind;
    entry.what = here->what;
  }
  return entry;
}

void DriveTree::list(const std::string& folder, const Visit& visit) {
  drive_.list(folder, [&](const _FS_FILE_V2& file) { visit(entry_of(file, below(folder, file.name))); });
}

std::optional<Entry> DriveTree::find(const std::string& path) {
  if (const std::optional<_FS_FILE_V2> file = drive_.find(path)) {
    Entry entry = entry_of(*file, path);
    entry.name = name_of(path);
    return entry;
  }
  return local_ ? find_local(path) : std::nullopt;  // a link that leads nowhere
}

Entry DriveTree::examine(const std::string& path) {
  if (std::optional<Entry> entry = find(path)) return *std::move(entry);
  return entry_of(drive_.info(path), path);
}

// The module gives one reason for every failure to make a folder; making a file there gives the true one.
void DriveTree::throw_why_nothing_can_be_made(const std::string& path) {
  const std::string parent = parent_of(path);
  int reason = EIO;
  try {
    if (drive_.info(parent).type != FS_TYPE_DIRECTORY) throw_errno(ENOTDIR, parent);
    drive_.remove(drive_.upload(parent, temporary_name(), 0, new_handle(), {}));
  } catch (const OperationError& error) {
    if (error.reason() != 0) reason = error.reason();
  }
  throw CommandError(fmt::format("can't make the folder {}: {}", path, std::generic_category().message(reason)));
}

void DriveTree::make_folder(const std::string& path) {
  try {
    const _FS_FILE_V2 made = drive_.create_directory(parent_of(path), name_of(path));
    if (made.type != FS_TYPE_DIRECTORY) throw_errno(EEXIST, path);
  } catch (const OperationError& error) {
    if (error.status() != FS_ERR_OPERATION_FAILED) throw;
    throw_why_nothing_can_be_made(path);
  }
}

void DriveTree::set_modified(const std::string& path, time_t modified) {
  try {
    drive_.set_times(path, ::time(nullptr), modified);
  } catch (const OperationError& error) {
    if (error.status() != FS_ERR_NOT_SUPPORTED) throw;  // a module that keeps no times tells none either
  }
}

void DriveTree::move(const std::string& from, const std::string& to, const Entry& entry) {
  drive_.move(record_of(from, is_folder(entry)), parent_of(to), name_of(to));
}

void DriveTree::remove(const std::string& path, const Entry& entry) {
  if (entry.kind == Kind::other) {
    throw CommandError(
        fmt::format("can't remove {}: it is {}, and the protocol removes files and folders only", path, entry.what));
  }
  drive_.remove(record_of(path, is_folder(entry)));
}

}  // namespace host
