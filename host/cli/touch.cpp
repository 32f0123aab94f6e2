// touch
#include <fmt/format.h>

#include "host/cli/commands.h"
#include "host/cli/date_text.h"
#include "host/client/module_functions.h"
#include "host/client/paths.h"
#include "host/client/times.h"

namespace host {
namespace {

// Where neither time is given, both become the current one.
void touch_one(Drive& drive, const std::string& path, std::optional<time_t> accessed,
               std::optional<time_t> modified) {
  std::optional<_FS_FILE_V2> file = drive.find(path);
  if (!file) file = drive.upload(parent_of(path), name_of(path), 0, new_handle(), {});
  const time_t now = ::time(nullptr);
  const bool both_now = !accessed && !modified;
  drive.set_times(path, accessed.value_or(both_now ? now : parse_record_time(file->atime)),
                  modified.value_or(both_now ? now : parse_record_time(file->mtime)));
  const _FS_FILE_V2 kept = drive.info(path);
  if ((accessed && !shows_time(kept.atime, *accessed)) || (modified && !shows_time(kept.mtime, *modified))) {
    throw CommandError(
        fmt::format("{} can't keep that time: it shows {}, accessed {}", path, kept.mtime, kept.atime));
  }
}

}  // namespace

int touch(const Session& session, const std::vector<std::string>& paths, const std::optional<std::string>& accessed,
          const std::optional<std::string>& modified) {
  const ModuleFunctions functions(session.module);
  const auto read = [&](const std::optional<std::string>& text) {
    return text ? std::optional(read_date(functions, *text)) : std::nullopt;
  };
  // A date that is none must not make a file.
  const std::optional<time_t> new_access = read(accessed), new_modification = read(modified);
  for (const std::string& path : paths) {
    session.report.attempt([&] { touch_one(session.drive, absolute_path(path), new_access, new_modification); });
  }
  return session.report.finish();
}

}  // namespace host
