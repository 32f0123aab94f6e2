#include <fcntl.h>

#include <cstring>
#include <ctime>
#include <string>

#include "localdisk/catch_all.h"
#include "localdisk/local_disk.h"
#include "localdisk/metadata.h"
#include "localdisk/os_handles.h"
#include "localdisk/paths.h"

namespace {

bool is_self_or_parent(const char* name) { return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0; }

enum class Described { by_target, by_itself, not_at_all };

// The status of what the entry leads to; for a link that leads nowhere, of the link.
Described examine(int directory, const char* name, struct stat& status) {
  if (::fstatat(directory, name, &status, 0) == 0) return Described::by_target;
  if (::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0) return Described::by_itself;
  return Described::not_at_all;
}

// The record that the entries of one listing share. Every member is set anew for each of them, for the host may
// have changed or emptied it; what stays is the memory that the texts hold, which a large listing would otherwise
// ask for ten times an entry.
class Record {
 public:
  explicit Record(const char* host_path) : prefix_(host_path), host_path_length_(prefix_.size()) {
    localdisk::append_name(prefix_, {});
  }

  _FS_FILE_V2* describe(const dirent& entry, Described described, const struct stat& status) {
    name(entry.d_name);
    if (described == Described::not_at_all) {
      // Without a status there are no times, but the directory itself says what it holds.
      file_.type = entry.d_type == DT_DIR ? FS_TYPE_DIRECTORY : FS_TYPE_FILE;
      file_.size = 0;
      for (std::string* text : {&file_.ctime, &file_.atime, &file_.mtime}) text->clear();
    } else {
      file_.type = described == Described::by_target ? localdisk::type_of(status) : FS_TYPE_FILE;
      file_.size = status.st_size;
      times_.put_into(file_, status);
    }
    return &file_;
  }

 private:
  // Sets what doesn't depend on the status.
  void name(const char* entry) {
    file_.name = entry;
    file_.path.assign(prefix_).append(file_.name);
    file_.extra1.clear();
    file_.extra2.clear();
    file_.parents.resize(1);
    file_.parents.front().assign(prefix_, 0, host_path_length_);
  }

  std::string prefix_;  // of every path: the host path of the folder, which a separator follows or ends
  std::size_t host_path_length_;
  localdisk::FileTimes times_;
  _FS_FILE_V2 file_;
};

}  // namespace

int LocalDisk::GetFileList(const char* path, IFileList* list, char** /*message*/) {
  if (path == nullptr || list == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    const localdisk::Directory directory(::opendir(GetPath(path).c_str()));
    if (!directory) return FS_ERR_NOT_FOUND;
    Record record(path);
    ::tzset();
    // A stream that fails ends like one that is through: what was reported stands.
    while (const dirent* entry = ::readdir(directory.get())) {
      if (is_self_or_parent(entry->d_name)) continue;
      struct stat status {};
      const Described described = examine(::dirfd(directory.get()), entry->d_name, status);
      list->AddFile(record.describe(*entry, described, status));
    }
    return FS_OK;
  });
}
