// mv
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

}  // namespace

int move(const Session& session, const std::vector<std::string>& paths) {
  DriveTree drive(session.module, session.drive);
  for (std::size_t at = 0; at + 1 < paths.size(); ++at) {
    session.report.attempt([&] { move_one(drive, paths[at], paths.back(), paths.size() > 2); });
  }
  return session.report.finish();
}

}  // namespace host
