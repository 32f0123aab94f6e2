// info, ls, stat and cat.
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <system_error>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/cli/interrupt.h"
#include "host/client/module_functions.h"
#include "plugin/entry_points.h"

namespace host {
namespace {

const char* type_name(int type) { return type == FS_TYPE_DIRECTORY ? "folder" : "file"; }

std::string hex(const std::string& bytes) {
  const auto* const first = reinterpret_cast<const unsigned char*>(bytes.data());
  return fmt::format("{:02x}", fmt::join(first, first + bytes.size(), ""));
}

// JSON is UTF-8. Where a name is not, U+FFFD stands for what is ill-formed and the bytes are told beside it.
std::string json_line(const _FS_FILE_V2& file) {
  nlohmann::ordered_json object{{"name", file.name},  {"path", file.path},   {"type", type_name(file.type)},
                                {"size", file.size},  {"mtime", file.mtime}, {"atime", file.atime},
                                {"ctime", file.ctime}};
  try {
    return object.dump() + "\n";
  } catch (const nlohmann::json::type_error&) {
    object["name_hex"] = hex(file.name);
    object["path_hex"] = hex(file.path);
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  }
}

void print_json(const _FS_FILE_V2& file) {
  const std::string line = json_line(file);
  std::fwrite(line.data(), 1, line.size(), stdout);
}

void print_columns(const _FS_FILE_V2& file) {
  fmt::print("{:<6} {:>14} {:.19}  {}\n", type_name(file.type), file.size, file.mtime, printable(file.name));
}

void flush_output() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw std::system_error(errno, std::generic_category(), "can't write to standard output");
  }
}

}  // namespace

int show_info(const Module& module, Drive& drive, const std::string& root) {
  drive.set_option("root_path", root);
  fmt::print("module      {}\n", module.file().string());
  fmt::print("protocol    {}\n", module.protocol());
  fmt::print("auth type   {}\n", module.function<decltype(GetAuthType)>("GetAuthType")());
  fmt::print("features    {:#x}\n", drive.features());
  fmt::print("user        {}\n", printable(drive.user()));
  fmt::print("root        {}\n", printable(drive.root()));
  if (const std::optional<Quota> quota = drive.quota()) {
    const auto line = [](const char* what, unsigned long long bytes) {
      fmt::print("{:<11} {} bytes, {}\n", what, bytes, readable_bytes(static_cast<double>(bytes)));
    };
    line("quota", quota->total);
    line("in use", quota->used);
  } else {
    fmt::print("quota       unknown\n");
  }
  for (const ToldValue& told : drive.hand_over_credential()) {
    fmt::print("credential  {} = {} (owner {}, flag {})\n", told.key, told.value, told.owner, told.flag);
  }
  flush_output();
  return exit_done;
}

int list_folder(const Module& module, Drive& drive, const std::string& path, const Matching& matching, bool json) {
  const ModuleFunctions utilities(module);
  drive.list(path, [&](const _FS_FILE_V2& file) {
    if (matching.expression && !utilities.matches(*matching.expression, file.name, matching.ignore_case)) return;
    json ? print_json(file) : print_columns(file);
  });
  flush_output();
  return exit_done;
}

int show_entry(Drive& drive, const std::string& path, bool json) {
  const _FS_FILE_V2 file = drive.info(path);
  if (json) {
    print_json(file);
  } else {
    fmt::print("name      {}\npath      {}\ntype      {}\nsize      {} bytes, {}\n", printable(file.name),
               printable(file.path), type_name(file.type), file.size, readable_bytes(static_cast<double>(file.size)));
    fmt::print("modified  {}\naccessed  {}\nchanged   {}\n", file.mtime, file.atime, file.ctime);
  }
  flush_output();
  return exit_done;
}

int print_content(Drive& drive, const std::string& path, long long offset, std::optional<long long> length) {
  const _FS_FILE_V2 file = drive.info(path);
  if (file.type == FS_TYPE_DIRECTORY) throw CommandError(fmt::format("{} is a folder; see ls", path));
  const InterruptGuard interrupt;
  const long long wanted = length.value_or(std::max(0LL, file.size - offset));
  drive.read(path, offset, wanted, interrupt.handle(), [](const unsigned char* data, std::size_t size) {
    std::fwrite(data, 1, size, stdout);
    if (std::ferror(stdout) != 0) flush_output();
  });
  flush_output();
  return exit_done;
}

}  // namespace host
