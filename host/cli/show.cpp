// info, stat and cat.
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/cli/entry_text.h"
#include "host/client/paths.h"
#include "plugin/entry_points.h"

namespace host {

namespace {

// Prints with `body` what a module may not offer.
template <class Body>
void print_if_offered(const char* what, Body&& body) {
  try {
    body();
  } catch (const OperationError& error) {
    if (error.status() != FS_ERR_NOT_SUPPORTED) throw;
    fmt::print("{:<11} not offered\n", what);
  }
}

}  // namespace

int show_info(const Session& session, const std::string& root) {
  Drive& drive = session.drive;
  drive.set_option("root_path", absolute_path(root));
  fmt::print("module      {}\n", escaped_for_output(session.module.file().string()));
  fmt::print("protocol    {}\n", session.module.protocol());
  fmt::print("auth type   {}\n", session.module.function<decltype(GetAuthType)>("GetAuthType")());
  fmt::print("features    {:#x}\n", drive.features());
  fmt::print("user        {}\n", escaped_for_output(drive.user()));
  fmt::print("root        {}\n", escaped_for_output(drive.root()));
  print_if_offered("quota", [&] {
    const auto line = [](const char* what, unsigned long long bytes) {
      fmt::print("{:<11} {} bytes, {}\n", what, bytes, readable_bytes(static_cast<double>(bytes)));
    };
    const std::optional<Quota> quota = drive.quota();
    if (!quota) return fmt::print("quota       unknown\n");
    line("quota", quota->total);
    line("in use", quota->used);
  });
  print_if_offered("credential", [&] {
    for (const ToldValue& told : drive.hand_over_credential()) {
      fmt::print("credential  {} = {} (owner {}, flag {})\n", told.key, told.value, told.owner, told.flag);
    }
  });
  flush_output();
  return exit_done;
}

int show_entry(const Session& session, const std::string& path, bool json) {
  const _FS_FILE_V2 file = session.drive.info(absolute_path(path));
  if (json) {
    const std::string line = json_line(file);
    std::fwrite(line.data(), 1, line.size(), stdout);
  } else {
    fmt::print("name      {}\npath      {}\ntype      {}\nsize      {} bytes, {}\n", escaped_for_output(file.name),
               escaped_for_output(file.path), type_name(file.type), file.size,
               readable_bytes(static_cast<double>(file.size)));
    fmt::print("modified  {}\naccessed  {}\nchanged   {}\n", local_time(file.mtime), local_time(file.atime),
               local_time(file.ctime));
  }
  flush_output();
  return exit_done;
}

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
