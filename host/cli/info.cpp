// info
#include <fmt/format.h>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/client/paths.h"

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
  fmt::print("auth type   {}\n", session.module.auth_type());
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

}  // namespace host
