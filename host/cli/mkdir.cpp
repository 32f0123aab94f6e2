// mkdir
#include <fmt/format.h>

#include "host/cli/commands.h"
#include "host/client/paths.h"

namespace host {
namespace {

void make_folder(DriveTree& drive, const std::string& path, bool parents) {
  const std::optional<Entry> there = drive.find(path);
  if (there && (!parents || !is_folder(*there))) throw CommandError(fmt::format("{} exists already", path));
  if (there) return;
  if (parents) make_folder(drive, parent_of(path), true);
  drive.make_folder(path);
}

}  // namespace

int make_folders(const Session& session, const std::vector<std::string>& paths, bool parents) {
  DriveTree drive(session.module, session.drive);
  for (const std::string& path : paths) {
    session.report.attempt([&] { make_folder(drive, absolute_path(path), parents); });
  }
  return session.report.finish();
}

}  // namespace host
