// The module at work on a real folder: into the drive, back again, and every byte compared.
#include <fmt/format.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <set>
#include <utility>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/cli/mirror.h"
#include "host/client/paths.h"

namespace host {
namespace {

namespace fs = std::filesystem;

class TemporaryFolder {
 public:
  TemporaryFolder() : path_(fs::temp_directory_path() / "localdisk-demo-XXXXXX") {
    std::string name = path_.string();
    if (::mkdtemp(name.data()) == nullptr) throw CommandError(fmt::format("can't make a folder like {}", name));
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code error;
    fs::remove_all(path_, error);
    if (error) print_error(fmt::format("{} is left behind: {}", path_.string(), error.message()));
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  [[nodiscard]] const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

bool same_content(const fs::path& first, const fs::path& second) {
  using Bytes = std::istreambuf_iterator<char>;
  std::ifstream a(first, std::ios::binary), b(second, std::ios::binary);
  return a && b && std::equal(Bytes(a), Bytes(), Bytes(b), Bytes());
}

// Compares what was copied of `original` with `copy`, which may hold nothing else, and tells each difference.
long long count_differences(const Session& session, const fs::path& original, const fs::path& copy) {
  Drive& drive = session.drive;
  long long differences = 0;
  const auto differs = [&](const fs::path& path, const char* how) {
    ++differences;
    print_error(fmt::format("{} {}", path.string(), how));
  };
  std::set<std::string> names;
  drive.list(copy.string(), [&](const _FS_FILE_V2& file) { names.insert(file.name); });
  drive.list(original.string(), [&](const _FS_FILE_V2& file) {
    session.report.interrupt().throw_if_interrupted();
    const fs::path here(file.path), there = copy / file.name;
    if (file.type == FS_TYPE_DIRECTORY ? fs::is_symlink(here) : !fs::is_regular_file(here)) return;  // skipped
    if (names.erase(file.name) == 0) {
      differs(here, "was not copied");
    } else if (file.type == FS_TYPE_DIRECTORY) {
      differences += count_differences(session, here, there);
    } else if (!same_content(here, there)) {
      differs(here, "came back with other content");
    } else if (drive.info(there.string()).mtime != file.mtime) {
      differs(here, "came back with another modification time");
    }
  });
  for (const std::string& name : names) differs(copy / name, "is in the copy alone");
  return differences;
}

// Makes `to` equal to `from` and tells what that took.
void timed_sync(const char* what, const Session& session, Direction direction, const std::string& from,
                const std::string& to) {
  const auto begin = std::chrono::steady_clock::now();
  MirrorRules rules;
  rules.only_differing = true;
  Mirror mirror(session, direction, std::move(rules));
  Entry folder = mirror.source().examine(from);
  if (!is_folder(folder)) throw CommandError(fmt::format("{} is no folder", from));
  folder.kind = Kind::folder;
  mirror.synchronise(from, folder, to);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  const MirrorCounts& counts = mirror.counts();
  const auto bytes = static_cast<double>(counts.bytes);
  if (counts.copied == 0) {
    fmt::print("{:<8} nothing to copy in {:.2f} s: {} files are equal\n", what, seconds, counts.unchanged);
  } else {
    fmt::print("{:<8} {} files, {} folders, {} in {:.2f} s, {}/s\n", what, counts.copied, counts.folders,
               readable_bytes(bytes), seconds, readable_bytes(bytes / seconds));
  }
}

// The folder of the project that the module was built in, else the current one.
std::string project_folder(const Module& module) {
  for (fs::path folder = module.file().parent_path(); folder.has_relative_path(); folder = folder.parent_path()) {
    if (fs::exists(folder / "CMakePresets.json") && fs::exists(folder / "localdisk")) return folder.string();
  }
  return fs::current_path().string();
}

}  // namespace

int demo(const Session& session, const std::string& given) {
  const std::string folder = given.empty() ? project_folder(session.module) : absolute_path(given);
  show_info(session, folder);
  fmt::print("\n{}\n", escaped_for_output(folder));
  ListOptions shown;
  shown.paths = {folder};
  list_entries(session, shown);

  const TemporaryFolder temporary;
  const std::string there = temporary.path().string();
  fmt::print("\n");
  timed_sync("written", session, Direction::up, folder, there + "/drive");
  timed_sync("again", session, Direction::up, folder, there + "/drive");
  timed_sync("read", session, Direction::down, there + "/drive", there + "/back");
  const long long differences =
      count_differences(session, folder, there + "/drive") + count_differences(session, folder, there + "/back");
  if (differences != 0 || session.report.failed() != 0) {
    fmt::print("{} differences\n", differences);
    return exit_failed;
  }
  fmt::print("compared every byte and every modification time: no difference\n");
  return exit_done;
}

}  // namespace host
