// rm
#include <fmt/format.h>

#include "host/cli/commands.h"
#include "host/cli/walk.h"
#include "host/client/paths.h"

namespace host {
namespace {

// Who types these means what is in the folder, at most; the folder above goes with all that others have in it.
void expect_meant(const std::string& typed) {
  const std::string path = typed.substr(0, typed.find_last_not_of('/') + 1), name = name_of(path);
  if (name == "." || name == "..")
    throw CommandError(fmt::format("'{}' is not for removing: name the folder", typed));
  if (absolute_path(typed) == "/") throw CommandError("the root of this machine is not for removing");
}

}  // namespace

int remove(const Session& session, const std::vector<std::string>& paths, bool recursive) {
  DriveTree drive(session.module, session.drive);
  Removal removal(drive, session.report);
  for (const std::string& typed : paths) {
    std::string path;
    Entry entry;
    const bool found = session.report.attempt_whole([&] {
      expect_meant(typed);
      path = absolute_path(typed);
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
