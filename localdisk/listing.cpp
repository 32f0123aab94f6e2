#include <fcntl.h>

#include <cstring>
#include <ctime>

#include "localdisk/guard.h"
#include "localdisk/local_disk.h"
#include "localdisk/os_handles.h"

namespace {

bool is_self_or_parent(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

enum class Described { by_target, by_itself, not_at_all };

// The status of what the entry leads to; for a link that leads nowhere, of the link.
Described examine(int directory, const char* name, struct stat& status) {
  if (::fstatat(directory, name, &status, 0) == 0) return Described::by_target;
  if (::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0) return Described::by_itself;
  return Described::not_at_all;
}

}  // namespace

int LocalDisk::GetFileList(const char* path, IFileList* list, char** /*message*/) {
  if (path == nullptr || list == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::guarded(FS_ERR_OPERATION_FAILED, [&] {
    const localdisk::Directory directory(::opendir(GetPath(path).c_str()));
    if (!directory) return FS_ERR_NOT_FOUND;
    const std::string host_path(path);
    ::tzset();
    // A stream that fails ends like one that is through: what was reported stands.
    while (const dirent* entry = ::readdir(directory.get())) {
      if (is_self_or_parent(entry->d_name)) continue;
      _FS_FILE_V2 record;
      record.name = entry->d_name;
      struct stat status {};
      const Described described = examine(::dirfd(directory.get()), entry->d_name, status);
      if (described == Described::not_at_all) {
        record.path = JoinPath(host_path, record.name);
      } else {
        FillData(host_path, &status, &record);
      }
      if (described != Described::by_target) record.type = FS_TYPE_FILE;
      record.parents.push_back(host_path);
      list->AddFile(&record);
    }
    return FS_OK;
  });
}
