#include "localdisk/metadata.h"

#include <ctime>
#include <utility>

#include "localdisk/catch_all.h"
#include "localdisk/local_disk.h"
#include "localdisk/paths.h"

namespace localdisk {

std::string_view WallClock::at(time_t instant) noexcept {
  if (instant_ == instant) return text_.view();
  instant_ = instant;
  tm local{};
  if (::localtime_r(&instant, &local) != nullptr) {
    text_.set(local);
  } else {
    text_.clear();
  }
  return text_.view();
}

void FileTimes::put_into(_FS_FILE_V2& file, const struct stat& status) {
  const std::string_view changed = ctime_.at(status.st_ctime);
  const std::string_view modified = status.st_mtime == status.st_ctime ? changed : mtime_.at(status.st_mtime);
  const std::string_view accessed = status.st_atime == status.st_mtime ? modified : atime_.at(status.st_atime);
  file.ctime.reserve(changed.size());
  file.atime.reserve(accessed.size());
  file.mtime.reserve(modified.size());
  file.ctime = changed;
  file.atime = accessed;
  file.mtime = modified;
}

int type_of(const struct stat& status) { return S_ISDIR(status.st_mode) ? FS_TYPE_DIRECTORY : FS_TYPE_FILE; }

bool is_file_or_directory(const struct stat& status) { return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode); }

}  // namespace localdisk

void LocalDisk::FillData(std::string directory, struct stat* status, _FS_FILE_V2* file) const {
  localdisk::append_name(directory, file->name);
  localdisk::FileTimes times;
  times.put_into(*file, *status);
  // Nothing below can fail.
  file->type = localdisk::type_of(*status);
  file->path = std::move(directory);
  file->size = status->st_size;
}

int LocalDisk::GetFileInfo(const char* path, _FS_FILE_V2* file, char** /*message*/) {
  if (path == nullptr || file == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    std::string local = GetPath(path);
    struct stat status;
    if (::stat(local.c_str(), &status) != 0) return FS_ERR_NOT_FOUND;

    std::string name(localdisk::last_component(path));
    file->name.swap(name);
    ::tzset();
    try {
      localdisk::cut_to_parent(local);
      FillData(std::move(local), &status, file);
    } catch (...) {
      file->name.swap(name);
      throw;
    }
    return FS_OK;
  });
}
