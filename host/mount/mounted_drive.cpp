#include "host/mount/mounted_drive.h"

#include <fmt/format.h>

#include <cstdio>
#include <filesystem>

#include "host/client/errors.h"
#include "host/client/report.h"
#include "host/mount/cache.h"
#include "host/mount/drive_files.h"
#include "host/mount/end_signals.h"
#include "host/mount/fuse_session.h"
#include "host/mount/messages.h"
#include "host/mount/rooted_drive.h"

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

// What is local lies in files of this machine, and a drive within its own root would deadlock: answering a request
// would make another one.
void expect_apart(const MountOptions& options, bool is_local) {
  const fs::path& point = options.mount_point;
  if (!fs::is_directory(point)) throw CommandError(fmt::format("{} is not a folder", point.string()));
  if (!fs::is_empty(point)) throw CommandError(fmt::format("{} is not empty", point.string()));
  if (is_local && lies_within(point, options.root)) {
    throw CommandError(fmt::format("{} lies in the folder to mount, {}", point.string(), options.root));
  }
}

// The drive must not show the cache, which is changed around the module.
void expect_cache_apart(const fs::path& cache, const MountOptions& options, bool is_local) {
  if (!fs::is_directory(cache)) throw CommandError(fmt::format("{} is not a folder", cache.string()));
  for (const std::string& taken : {options.mount_point, options.root}) {
    if (taken == options.root && !is_local) continue;
    if (!lies_within(cache, taken)) continue;
    throw CommandError(fmt::format("{} lies in {}: name another folder with --cache", cache.string(), taken));
  }
}

// What drives have left here that were killed.
void take_over(RootedDrive& drive, const fs::path& cache_parent, const std::string& module, const std::string& root) {
  for (const AbandonedCache& cache : find_abandoned(cache_parent)) {
    const bool is_of_this_root = cache.kept.module == module && cache.kept.root == root;
    if (is_of_this_root) {
      for (const auto& [number, path] : cache.kept.contents) {
        drive.remove_leftover(path, cache.kept.upload_prefix, number);
      }
      for (const auto& [aside, path] : cache.kept.replaced) {
        // The kill came between the two steps of a replacement.
        if (drive.find(aside) && !drive.find(path)) drive.move(aside, path, /*directory=*/false);
      }
      for (const std::string& aside : cache.kept.removed) {
        if (drive.find(aside)) drive.remove_file(aside);
      }
    } else if (!cache.kept.removed.empty() || !cache.kept.replaced.empty()) {
      continue;  // the next drive of its root ends it
    }
    for (const RescuedContent& rescued : rescue_contents(cache)) {
      tell(fmt::format("an earlier drive of {} was ended before it could write {}: its content is in {}",
                       cache.kept.root, rescued.path, rescued.kept.string()));
    }
  }
}

}  // namespace

int run_drive(Drive& drive, const MountOptions& options, const std::string& module) {
  const bool is_local = module == "localdisk";
  if (drive.info(options.root).type != FS_TYPE_DIRECTORY) {
    throw CommandError(fmt::format("{} is not a folder", options.root));
  }
  expect_apart(options, is_local);
  const fs::path cache_parent = options.cache.empty() ? default_cache_folder() : options.cache;
  expect_cache_apart(cache_parent, options, is_local);
  const EndSignals signals;
  RootedDrive rooted(drive, options.root);
  if (!options.read_only) take_over(rooted, cache_parent, module, options.root);
  CacheFolder cache(cache_parent);
  cache.journal().note_root(module, options.root, rooted.own_prefix());
  DriveFiles files(rooted, cache);
  FuseSession session(files, options.root, options.mount_point, options.read_only);
  fmt::print("{} is mounted at {}{}; to unmount: {} {}\n", options.root, options.mount_point,
             options.read_only ? ", read-only" : "", unmount_command, options.mount_point);
  if (!options.read_only) {
    fmt::print("files that could not be uploaded are kept in {}\n", cache.rescue_folder().string());
  }
  std::fflush(stdout);
  if (!options.foreground) {
    session.detach();
    tell_syslog();
  }
  const bool good = session.serve(signals);

  const auto rescued = files.flush_all();
  for (const auto& file : rescued) {
    tell(fmt::format("{} could not be written, its content is kept in {}: {}", file.path, file.kept.string(),
                     file.reason));
  }
  return good && rescued.empty() ? exit_done : exit_failed;
}

}  // namespace host
