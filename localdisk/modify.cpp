#include <sys/stat.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>

#include "common/time/rfc3339.h"
#include "localdisk/catch_all.h"
#include "localdisk/local_disk.h"
#include "localdisk/metadata.h"
#include "localdisk/paths.h"

// Each text that an operation needs is made before the system is asked to change anything: memory that runs out then
// fails an operation that has not happened.

namespace {

bool is_changeable(const char* local_path) {
  struct stat status {};
  return ::stat(local_path, &status) == 0 && localdisk::is_file_or_directory(status);
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
    const std::string target = localdisk::local_entry(new_parent, file->name);
    const std::string host_target = localdisk::concatenate(new_parent, file->name);
    if (!is_changeable(source.c_str())) return FS_ERR_NOT_FOUND;
    if (target.empty()) {  // as "..": without this the name would stand in "/"
      errno = ENOENT;
      return FS_ERR_NOT_FOUND;
    }
    if (::rename(source.c_str(), target.c_str()) != 0) return FS_ERR_OPERATION_FAILED;
    GetFileInfo(host_target.c_str(), file, message);  // the entry is moved, whatever can be said of it
    return FS_OK;
  });
}

int LocalDisk::CreateDirectory(const char* parent, _FS_FILE_V2* file, char** message) {
  if (parent == nullptr || file == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    const std::string local_parent = GetPath(parent);
    const std::string target = localdisk::concatenate(local_parent, file->name);
    const std::string host_target = localdisk::concatenate(parent, file->name);
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
