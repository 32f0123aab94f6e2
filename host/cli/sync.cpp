// sync
#include <fmt/format.h>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/cli/mirror.h"
#include "host/client/paths.h"

namespace host {

int sync(const Session& session, const SyncOptions& options) {
  const std::string from = absolute_path(options.from), to = absolute_path(options.to);
  Mirror mirror(session, options.down ? Direction::down : Direction::up,
                {true, options.checksum, options.dry_run, options.deletes, options.excluded});
  Entry folder = mirror.source().examine(from);
  if (!is_folder(folder)) throw CommandError(fmt::format("{} is no folder; see get and put for files", from));
  folder.kind = Kind::folder;
  expect_apart(mirror.source(), from, true, mirror.target(), to);
  expect_apart(mirror.target(), to, true, mirror.source(), from);
  mirror.synchronise(from, folder, to);
  const MirrorCounts& counts = mirror.counts();
  session.report.print_result(fmt::format("{}{} copied, {}; {} folders made, {} deleted, {} unchanged",
                                          options.dry_run ? "would be: " : "", counts.copied,
                                          readable_bytes(static_cast<double>(counts.bytes)), counts.folders,
                                          counts.deleted, counts.unchanged));
  return session.report.finish();
}

}  // namespace host
