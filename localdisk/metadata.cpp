#include "localdisk/metadata.h"

#include <ctime>
#include <utility>

#include "localdisk/catch_all.h"
#include "localdisk/local_disk.h"
#include "localdisk/paths.h"

namespace localdisk {

void WallClock::set(time_t instant) noexcept {
  if (instant_ == instant) return;
  instant_ = instant;
  tm local{};
  text_ = ::localtime_r(&instant, &local) == nullptr ? TimestampText() : TimestampText(local);
}

void FileTimes::set(const struct stat& status) noexcept {
  ctime_.set(status.st_ctime);
  if (status.st_mtime == status.st_ctime) mtime_ = ctime_;
  mtime_.set(status.st_mtime);
  if (status.st_atime == status.st_mtime) atime_ = mtime_;
  atime_.set(status.st_atime);
}

void FileTimes::put_into(_FS_FILE_V2& file) const {
  file.ctime.reserve(ctime_.view().size());
  file.atime.reserve(atime_.view().size());
  file.mtime.reserve(mtime_.view().size());
  file.ctime = ctime_.view();
  file.atime = atime_.view();
  file.mtime = mtime_.view();
}

int type_of(const struct stat& status) { return S_ISDIR(status.st_mode) ? FS_TYPE_DIRECTORY : FS_TYPE_FILE; }

bool is_file_or_directory(const struct stat& status) { return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode); }

}  // namespace localdisk

void LocalDisk::FillData(std::string directory, struct stat* status, _FS_FILE_V2* file) const {
  localdisk::append_name(directory, file->name);
  localdisk::FileTimes times;
  times.set(*status);
  times.put_into(*file);
  // Nothing below can fail.
  file->type = localdisk::type_of(*status);
  file->path = std::move(directory);
  file->size = status->st_size;
}

int LocalDisk::GetFileInfo(const char* path, _FS_FILE_V2* file, char** /*message*/) {
  if (path == nullptr || file == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    std::string local = GetPath(path);
    struct stat status {};
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
