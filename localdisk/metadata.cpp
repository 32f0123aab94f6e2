#include "localdisk/metadata.h"

#include <algorithm>
#include <ctime>
#include <utility>

#include "localdisk/catch_all.h"
#include "localdisk/local_disk.h"

namespace localdisk {

namespace {

TimestampText wall_clock(time_t instant) noexcept {
  tm local{};
  return ::localtime_r(&instant, &local) == nullptr ? TimestampText() : TimestampText(local);
}

// The plain form of what stands above a path in its plain form, as if "/.." had been put behind it: "/" above the
// root, and nothing above a relative path of one component.
std::string parent_of(const std::string& path) {
  const std::size_t divider = path.rfind('/');
  std::string parent;
  parent.reserve(path.size() + 1);  // for the name that will be put behind it again
  if (divider != std::string::npos) parent.assign(path, 0, std::max<std::size_t>(divider, 1));
  return parent;
}

}  // namespace

std::string_view last_component(std::string_view path) {
  const std::size_t last = path.find_last_not_of('/');
  if (last == std::string_view::npos) return path.substr(0, 1);
  const std::string_view named = path.substr(0, last + 1);
  return named.substr(named.rfind('/') + 1);  // from the start where there is no divider
}

FileTimes::FileTimes(const struct stat& status) noexcept
    : ctime(wall_clock(status.st_ctime)), atime(wall_clock(status.st_atime)), mtime(wall_clock(status.st_mtime)) {}

void FileTimes::put_into(_FS_FILE_V2& file) const {
  file.ctime.reserve(ctime.view().size());
  file.atime.reserve(atime.view().size());
  file.mtime.reserve(mtime.view().size());
  file.ctime = ctime.view();
  file.atime = atime.view();
  file.mtime = mtime.view();
}

int type_of(const struct stat& status) { return S_ISDIR(status.st_mode) ? FS_TYPE_DIRECTORY : FS_TYPE_FILE; }

void append_name(std::string& directory, std::string_view name) {
  directory.reserve(directory.size() + 1 + name.size());
  if (!directory.ends_with('/')) directory += '/';
  directory += name;
}

bool is_file_or_directory(const struct stat& status) { return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode); }

}  // namespace localdisk

void LocalDisk::FillData(std::string directory, struct stat* status, _FS_FILE_V2* file) const {
  localdisk::append_name(directory, file->name);
  localdisk::FileTimes(*status).put_into(*file);
  // All that can fail is done.
  file->type = localdisk::type_of(*status);
  file->path = std::move(directory);
  file->size = status->st_size;
}

int LocalDisk::GetFileInfo(const char* path, _FS_FILE_V2* file, char** /*message*/) {
  if (path == nullptr || file == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    const std::string local = GetPath(path);
    struct stat status {};
    if (::stat(local.c_str(), &status) != 0) return FS_ERR_NOT_FOUND;

    std::string parent = localdisk::parent_of(local);
    std::string name(localdisk::last_component(path));
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
