// cat
#include <fmt/format.h>

#include <algorithm>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/client/paths.h"

namespace host {

int print_content(const Session& session, const std::vector<std::string>& paths, long long offset,
                  std::optional<long long> length) {
  DriveTree tree(session.module, session.drive);
  Transfer transfer(session);
  for (const std::string& typed : paths) {
    session.report.attempt([&] {
      const std::string path = absolute_path(typed);
      const Entry file = tree.examine(path);
      if (file.kind != Kind::file) {
        throw CommandError(fmt::format("{} is {}", path, is_folder(file) ? "a folder; see ls" : file.what));
      }
      transfer.print(path, offset, length.value_or(std::max(0LL, file.size - offset)));
    });
    flush_output();
  }
  return session.report.finish();
}

}  // namespace host
