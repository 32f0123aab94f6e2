#include "host/mount/mounted_drive.h"

#include <fmt/format.h>
#include <syslog.h>

#include <cstdio>
#include <filesystem>

#include "host/client/errors.h"
#include "host/client/report.h"
#include "host/mount/fuse_session.h"

namespace host {
namespace {

namespace fs = std::filesystem;

#if defined(__APPLE__)
constexpr const char* unmount_command = "umount";
#else
constexpr const char* unmount_command = "fusermount3 -u";
#endif

bool lies_within(const fs::path& inner, const fs::path& outer) {
  for (fs::path at = fs::canonical(inner);; at = at.parent_path()) {
    if (fs::equivalent(at, outer)) return true;
    if (at == at.root_path()) return false;
  }
}

// Would deadlock: answering a request would make another one.
void expect_apart(const MountOptions& options) {
  const fs::path& point = options.mount_point;
  if (!fs::is_directory(point)) throw CommandError(fmt::format("{} is not a folder", point.string()));
  if (!fs::is_empty(point)) throw CommandError(fmt::format("{} is not empty", point.string()));
  if (lies_within(point, options.root)) {
    throw CommandError(fmt::format("{} lies in the folder to mount, {}", point.string(), options.root));
  }
}

// The drive must not show the cache, which is changed around the module.
void expect_cache_apart(const fs::path& cache, const MountOptions& options) {
  if (!fs::is_directory(cache)) throw CommandError(fmt::format("{} is not a folder", cache.string()));
  for (const std::string& taken : {options.root, options.mount_point}) {
    if (!lies_within(cache, taken)) continue;
    throw CommandError(fmt::format("{} lies in {}: name another folder with --cache", cache.string(), taken));
  }
}

// In the background, errors go to syslog.
void tell(const MountOptions& options, const std::string& line) {
  options.foreground ? print_error(line) : ::syslog(LOG_ERR, "%s", line.c_str());
}

}  // namespace

int run_drive(Drive& drive, const MountOptions& options) {
  if (drive.info(options.root).type != FS_TYPE_DIRECTORY) {
    throw CommandError(fmt::format("{} is not a folder", options.root));
  }
  expect_apart(options);
  const fs::path cache_parent = options.cache.empty() ? fs::temp_directory_path() : options.cache;
  expect_cache_apart(cache_parent, options);
  RootedDrive mapping(drive, options.root);
  CacheFolder cache(cache_parent);
  OpenFiles files(mapping, cache);
  FuseSession session(mapping, files, options.mount_point, options.read_only);
  fmt::print("{} is mounted at {}{}; to unmount: {} {}\n", options.root, options.mount_point,
             options.read_only ? ", read-only" : "", unmount_command, options.mount_point);
  if (!options.read_only) {
    fmt::print("what can't be written in the end will be in {}\n", cache.rescue_folder().string());
  }
  std::fflush(stdout);
  if (!options.foreground) session.detach();
  const bool good = session.serve();

  const auto rescued = files.finish();
  for (const auto& file : rescued) {
    tell(options, fmt::format("{} could not be written, its content is kept in {}: {}", file.path, file.kept.string(),
                              file.reason));
  }
  return good && rescued.empty() ? exit_done : exit_failed;
}

}  // namespace host
