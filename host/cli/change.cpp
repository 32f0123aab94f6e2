// get, put, mv, mkdir and rm.
#include <fmt/format.h>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/cli/copy.h"
#include "host/client/paths.h"

namespace host {
namespace {

namespace fs = std::filesystem;

// Where an entry called `name` goes when the user names `target`: into it when that is a folder, else under
// its name.
std::string target_path(Drive& drive, const std::string& target, const std::string& name) {
  const std::optional<_FS_FILE_V2> existing = drive.find(target);
  return existing && existing->type == FS_TYPE_DIRECTORY ? below(target, name) : target;
}

void print_counts(const CopyCounts& counts) {
  fmt::print("{} files, {} folders, {}\n", counts.files, counts.folders,
             readable_bytes(static_cast<double>(counts.bytes)));
}

// A link to a folder goes as the link that it is, never with what it leads to.
bool is_real_folder(const _FS_FILE_V2& file) { return file.type == FS_TYPE_DIRECTORY && !fs::is_symlink(file.path); }

void remove_tree(Drive& drive, const _FS_FILE_V2& folder) {
  for (const _FS_FILE_V2& file : drive.list(folder.path))
    is_real_folder(file) ? remove_tree(drive, file) : drive.remove(file);
  drive.remove(folder);
}

}  // namespace

int get(Drive& drive, const std::string& path, const fs::path& local, bool recursive) {
  const InterruptGuard interrupt;
  Copier copier(drive, interrupt);
  const _FS_FILE_V2 file = drive.info(path);
  const fs::path target = fs::is_directory(local) ? local / file.name : local;
  if (file.type != FS_TYPE_DIRECTORY) {
    copier.get(file, target);
  } else if (recursive) {
    copier.get_tree(path, target);
  } else {
    throw CommandError(fmt::format("{} is a folder: say -r to copy it with all that is in it", path));
  }
  print_counts(copier.counts());
  return exit_done;
}

int put(Drive& drive, const fs::path& local, const std::string& path, bool recursive) {
  const InterruptGuard interrupt;
  Copier copier(drive, interrupt);
  const std::string target = target_path(drive, path, name_of(absolute_path(local.string())));
  if (!fs::exists(local)) throw CommandError(fmt::format("{}: no such file or folder", local.string()));
  try {
    if (!fs::is_directory(local)) {
      copier.put(local, parent_of(target), name_of(target));
    } else if (recursive) {
      copier.put_tree(local, parent_of(target), name_of(target));
    } else {
      throw CommandError(fmt::format("{} is a folder: say -r to copy it with all that is in it", local.string()));
    }
  } catch (const OperationError& error) {
    if (error.cancelled()) print_error("what was written of the file so far stays on the drive");
    throw;
  }
  print_counts(copier.counts());
  return exit_done;
}

int move(Drive& drive, const std::string& path, const std::string& target) {
  _FS_FILE_V2 entry = drive.info(path);
  entry.path = path;
  const std::string place = target_path(drive, target, name_of(path));
  drive.move(entry, parent_of(place), name_of(place));
  return exit_done;
}

int make_directory(Drive& drive, const std::string& path, bool parents) {
  const std::optional<_FS_FILE_V2> existing = drive.find(path);
  if (existing && (!parents || existing->type != FS_TYPE_DIRECTORY)) {
    throw CommandError(fmt::format("{} exists already", path));
  }
  if (existing) return exit_done;
  if (parents) make_directory(drive, parent_of(path), true);
  drive.create_directory(parent_of(path), name_of(path));
  return exit_done;
}

int remove(Drive& drive, const std::string& path, bool recursive) {
  if (path == "/") throw CommandError("the root of this machine is not for removing");
  _FS_FILE_V2 entry = drive.info(path);
  entry.path = path;
  if (recursive && is_real_folder(entry)) {
    remove_tree(drive, entry);
  } else {
    drive.remove(entry);
  }
  return exit_done;
}

}  // namespace host
