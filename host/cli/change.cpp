// mv, mkdir and rm.
#include <fmt/format.h>

#include "host/cli/commands.h"
#include "host/cli/mirror.h"
#include "host/client/paths.h"

namespace host {
namespace {

void move_one(DriveTree& drive, const std::string& typed, const std::string& target, bool several) {
  const std::string path = absolute_path(typed), there = absolute_path(target);
  const Entry entry = drive.examine(path);
  if (entry.kind == Kind::other) {
    throw CommandError(fmt::format("{} is {}: the protocol moves files and folders only", path, entry.what));
  }
  const std::optional<Entry> receiver = drive.find(there);
  const bool into = receiver && is_folder(*receiver);
  if (several && !into) throw CommandError(fmt::format("{} is no folder: it can't receive several entries", there));
  const std::string place = into ? below(there, name_of(path)) : there;
  if (place == path) throw CommandError(fmt::format("{} and {} are the same file", path, place));
  if (place.compare(0, path.size() + 1, below(path, "")) == 0) {
    throw CommandError(fmt::format("{} lies in {}, which can't be copied or moved into itself", place, path));
  }
  expect_apart(drive, path, entry.kind == Kind::folder, drive, place);
  const std::optional<Entry> parent = drive.find(parent_of(place));
  if (!parent || !is_folder(*parent)) throw CommandError(fmt::format("{}: no such folder", parent_of(place)));
  if (!into && receiver && receiver->kind == Kind::other) {
    throw CommandError(fmt::format("{} is {}, and nothing can take its place", place, receiver->what));
  }
  if (!into && target.back() == '/' && entry.kind == Kind::file) {
    throw CommandError(fmt::format("{} is no folder", target));
  }
  drive.move(path, place, entry);
}

void make_folder(DriveTree& drive, const std::string& path, bool parents) {
  const std::optional<Entry> there = drive.find(path);
  if (there && (!parents || !is_folder(*there))) throw CommandError(fmt::format("{} exists already", path));
  if (there) return;
  if (parents) make_folder(drive, parent_of(path), true);
  drive.make_folder(path);
}

}  // namespace

int move(const Session& session, const std::vector<std::string>& paths) {
  DriveTree drive(session.module, session.drive);
  for (std::size_t at = 0; at + 1 < paths.size(); ++at) {
    session.report.attempt([&] { move_one(drive, paths[at], paths.back(), paths.size() > 2); });
  }
  return session.report.finish();
}

int make_folders(const Session& session, const std::vector<std::string>& paths, bool parents) {
  DriveTree drive(session.module, session.drive);
  for (const std::string& path : paths) {
    session.report.attempt([&] { make_folder(drive, absolute_path(path), parents); });
  }
  return session.report.finish();
}

int remove(const Session& session, const std::vector<std::string>& paths, bool recursive) {
  DriveTree drive(session.module, session.drive);
  Removal removal(drive, session.report);
  for (const std::string& typed : paths) {
    const std::string path = absolute_path(typed);
    Entry entry;
    const bool found = session.report.attempt_whole([&] {
      if (path == "/") throw CommandError("the root of this machine is not for removing");
      entry = drive.examine(path);
    });
    if (!found) continue;
    if (recursive) {
      removal.remove(path, entry);
    } else {
      session.report.attempt([&] { drive.remove(path, entry); });
    }
  }
  return session.report.finish();
}

}  // namespace host
