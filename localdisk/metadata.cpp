#include "localdisk/metadata.h"

#include <ctime>
#include <utility>

#include "common/time/rfc3339.h"
#include "localdisk/guard.h"
#include "localdisk/local_disk.h"
#include "localdisk/normalize_path.h"

namespace localdisk {

std::string_view last_component(std::string_view path) {
  const std::size_t last = path.find_last_not_of('/');
  if (last == std::string_view::npos) return path.substr(0, 1);
  const std::string_view named = path.substr(0, last + 1);
  return named.substr(named.rfind('/') + 1);  // from the start where there is no divider
}

std::string wall_clock_text(time_t instant) {
  tm local{};
  if (::localtime_r(&instant, &local) == nullptr) return {};
  return TMToRFC3339(&local);
}

bool is_file_or_directory(const struct stat& status) {
  return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

}  // namespace localdisk

void LocalDisk::FillData(std::string directory, struct stat* status, _FS_FILE_V2* file) const {
  std::string path = JoinPath(directory, file->name);
  std::string ctime = localdisk::wall_clock_text(status->st_ctime);
  std::string atime = localdisk::wall_clock_text(status->st_atime);
  std::string mtime = localdisk::wall_clock_text(status->st_mtime);
  // All that can fail is done: from here on the record changes, and changes whole.
  file->type = S_ISDIR(status->st_mode) ? FS_TYPE_DIRECTORY : FS_TYPE_FILE;
  file->path = std::move(path);
  file->size = status->st_size;
  file->ctime = std::move(ctime);
  file->atime = std::move(atime);
  file->mtime = std::move(mtime);
}

int LocalDisk::GetFileInfo(const char* path, _FS_FILE_V2* file, char** /*message*/) {
  if (path == nullptr || file == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::guarded(FS_ERR_OPERATION_FAILED, [&] {
    const std::string host_path(path);
    const std::string local = GetPath(path);
    std::string parent = host_path == "/" ? "/" : localdisk::normalized(host_path + "/..");
    struct stat status {};
    if (::stat(local.c_str(), &status) != 0) return FS_ERR_NOT_FOUND;

    std::string name(localdisk::last_component(host_path));
    file->name.swap(name);
    ::tzset();
    try {
      FillData(std::move(parent), &status, file);
    } catch (...) {
      file->name.swap(name);
      throw;
    }
    return FS_OK;
  });
}
