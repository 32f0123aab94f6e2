#include <sys/stat.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>

#include "common/time/rfc3339.h"
#include "localdisk/catch_all.h"
#include "localdisk/local_disk.h"
#include "localdisk/metadata.h"

// Each text that an operation needs is made before the system is asked to change anything: memory that runs
// out then fails an operation that has not happened.

namespace {

bool is_changeable(const char* local_path) {
  struct stat status {};
  return ::stat(local_path, &status) == 0 && localdisk::is_file_or_directory(status);
}

// Plain concatenation: a directory that ends in a divider gives two.
std::string below(std::string directory, const std::string& name) {
  directory.reserve(directory.size() + 1 + name.size());
  return std::move(directory.append("/").append(name));
}

}  // namespace

int LocalDisk::Rename(const char* path, const char* new_parent, _FS_FILE_V2* file, char** message) {
  return Move(path, new_parent, file, message);
}

int LocalDisk::MoveDir(const char* path, const char* new_parent, _FS_FILE_V2* file, char** message) {
  return Move(path, new_parent, file, message);
}

int LocalDisk::Move(const char* path, const char* new_parent, _FS_FILE_V2* file, char** message) {
  if (path == nullptr || new_parent == nullptr || file == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    const std::string source = GetPath(path);
    const std::string target = below(GetPath(new_parent), file->name);
    const std::string host_target = below(new_parent, file->name);
    if (!is_changeable(source.c_str())) return FS_ERR_NOT_FOUND;
    if (::rename(source.c_str(), target.c_str()) != 0) return FS_ERR_OPERATION_FAILED;
    GetFileInfo(host_target.c_str(), file, message);  // the entry is moved, whatever can be said of it
    return FS_OK;
  });
}

int LocalDisk::CreateDirectory(const char* parent, _FS_FILE_V2* file, char** message) {
  if (parent == nullptr || file == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    const std::string local_parent = GetPath(parent);
    const std::string target = below(local_parent, file->name);
    const std::string host_target = below(parent, file->name);
    if (!is_changeable(local_parent.c_str())) return FS_ERR_NOT_FOUND;
    constexpr mode_t mode = 0755;
    if (::mkdir(target.c_str(), mode) != 0 && errno != EEXIST) {
      errno = ENOTDIR;  // the one reason that hosts are told
      return FS_ERR_OPERATION_FAILED;
    }
    GetFileInfo(host_target.c_str(), file, message);
    return FS_OK;
  });
}

int LocalDisk::Delete(_FS_FILE_V2* file, char** /*message*/) {
  if (file == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    const std::string local = GetPath(file->path.c_str());
    if (!is_changeable(local.c_str())) return FS_ERR_NOT_FOUND;
    return std::remove(local.c_str()) == 0 ? FS_OK : FS_ERR_OPERATION_FAILED;
  });
}

int LocalDisk::DeleteDirectory(_FS_FILE_V2* file, char** message) { return Delete(file, message); }

int LocalDisk::SetFileTime(const char* path, std::string /*creation_time*/, std::string access_time,
                           std::string modification_time, _FS_FILE_V2* /*file*/, char** /*message*/) {
  if (path == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    if (!is_changeable(path)) return FS_ERR_NOT_FOUND;
    const time_t accessed = RFC3339ToTM(access_time.c_str());
    const time_t modified = RFC3339ToTM(modification_time.c_str());
    const std::array<timeval, 2> times{{{accessed, 0}, {modified, 0}}};
    return ::utimes(path, times.data()) == 0 ? FS_OK : FS_ERR_OPERATION_FAILED;
  });
}
