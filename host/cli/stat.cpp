// stat
#include <fmt/format.h>

#include <cstdio>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/cli/entry_text.h"
#include "host/client/paths.h"

namespace host {
namespace {

void print_entry(const _FS_FILE_V2& file) {
  fmt::print("name      {}\npath      {}\ntype      {}\nsize      {} bytes, {}\n", escaped_for_output(file.name),
             escaped_for_output(file.path), type_name(file.type), file.size,
             readable_bytes(static_cast<double>(file.size)));
  fmt::print("modified  {}\naccessed  {}\nchanged   {}\n", local_time(file.mtime), local_time(file.atime),
             local_time(file.ctime));
}

}  // namespace

int show_entries(const Session& session, const std::vector<std::string>& paths, bool json) {
  bool first = true;
  for (const std::string& path : paths) {
    session.report.attempt([&] {
      const _FS_FILE_V2 file = session.drive.info(absolute_path(path));
      if (json) return print_json(file);
      if (!first) fmt::print("\n");
      first = false;
      print_entry(file);
    });
  }
  flush_output();
  return session.report.finish();
}

}  // namespace host
