#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <functional>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/cli/interrupt.h"
#include "host/client/paths.h"
#include "host/mount/mount.h"

namespace {

using host::absolute_path;

struct ConsoleLog final : ILog {
  void Reserved1() override {}
  void Reserved2() override {}
  [[gnu::format(printf, 3, 0)]] void LogV(LOGLEVEL level, const char* format, va_list arguments) override {
    std::array<char, 1024> line{};
    std::vsnprintf(line.data(), line.size(), format, arguments);
    fmt::print(stderr, "log {}: {}\n", static_cast<int>(level), line.data());
  }
};

using Command = std::function<int(const host::Module&, host::Drive&)>;

// What the arguments say: filled by the parser, read by the command that was chosen.
struct Arguments {
  std::string module, path, target, folder, text, cache, root = "/", mount_root = ".";
  bool verbose = false, json = false, recursive = false, parents = false;
  bool read_only = false, foreground = false;
  long long offset = 0;
  std::optional<long long> length;
  std::optional<std::string> accessed, modified;
  host::Matching matching;
  host::Setting setting;
  Command command;

  [[nodiscard]] std::string drive_path() const { return absolute_path(path); }
};

CLI::App& add(CLI::App& app, Arguments& a, const char* name, const char* help, Command command) {
  CLI::App* const added = app.add_subcommand(name, help);
  added->callback([&a, command = std::move(command)] { a.command = command; });
  return *added;
}

void add_showing_commands(CLI::App& app, Arguments& a) {
  add(app, a, "info", "Tell what the module is and what it says of user, root and volume",
      [&](auto& module, auto& drive) { return show_info(module, drive, absolute_path(a.root)); })
      .add_option("--root", a.root, "the folder whose volume is measured")
      ->capture_default_str();

  CLI::App& ls =
      add(app, a, "ls", "List a folder: kind, size, local modification time and name",
          [&](auto& module, auto& drive) { return list_folder(module, drive, a.drive_path(), a.matching, a.json); });
  ls.add_option("PATH", a.path, "the folder")->required();
  ls.add_option("--match", a.matching.expression, "only names that match: * ? and the module's < > \"");
  ls.add_flag("--ignore-case", a.matching.ignore_case, "letters match in either case")->needs("--match");
  ls.add_flag("--json", a.json, "an object a line; of names that are not UTF-8 it tells the bytes too");

  CLI::App& stat = add(app, a, "stat", "Describe one entry; links are followed",
                       [&](auto&, auto& drive) { return show_entry(drive, a.drive_path(), a.json); });
  stat.add_option("PATH", a.path, "the entry")->required();
  stat.add_flag("--json", a.json, "as ls does");

  CLI::App& cat = add(app, a, "cat", "Write a file's bytes to standard output",
                      [&](auto&, auto& drive) { return print_content(drive, a.drive_path(), a.offset, a.length); });
  cat.add_option("PATH", a.path, "the file")->required();
  cat.add_option("--offset", a.offset, "the first byte")->check(CLI::NonNegativeNumber);
  cat.add_option("--length", a.length, "how many bytes; to the end where left out")->check(CLI::NonNegativeNumber);
}

void add_copying_commands(CLI::App& app, Arguments& a) {
  CLI::App& get = add(app, a, "get", "Copy from the drive to a local file or folder",
                      [&](auto&, auto& drive) { return host::get(drive, a.drive_path(), a.target, a.recursive); });
  get.add_option("PATH", a.path, "what to copy")->required();
  get.add_option("LOCAL", a.target, "where to; a folder receives it under its name")->required();

  CLI::App& put = add(app, a, "put", "Copy a local file or folder to the drive, with its modification time",
                      [&](auto&, auto& drive) { return host::put(drive, a.target, a.drive_path(), a.recursive); });
  put.add_option("LOCAL", a.target, "what to copy")->required();
  put.add_option("PATH", a.path, "where to; a file there is replaced, and lost if the transfer fails")->required();
  for (CLI::App* copy : {&get, &put}) {
    copy->add_flag("-r,--recursive", a.recursive, "folders with all that is in them");
  }
  add(app, a, "demo", "Copy a folder through the module and back, and compare every byte",
      [&](auto& module, auto& drive) { return demo(module, drive, a.folder); })
      .add_option("FOLDER", a.folder, "the folder; the project's own where left out");
}

void add_changing_commands(CLI::App& app, Arguments& a) {
  CLI::App& mv = add(app, a, "mv", "Move or rename an entry; a file of that name is replaced",
                     [&](auto&, auto& drive) { return move(drive, a.drive_path(), absolute_path(a.target)); });
  mv.add_option("PATH", a.path, "the entry")->required();
  mv.add_option("TARGET", a.target, "its new path, or a folder that receives it")->required();

  CLI::App& mkdir = add(app, a, "mkdir", "Make a folder",
                        [&](auto&, auto& drive) { return make_directory(drive, a.drive_path(), a.parents); });
  mkdir.add_option("PATH", a.path, "the folder")->required();
  mkdir.add_flag("-p,--parents", a.parents, "with the folders above it; fine when it is there already");

  CLI::App& touch = add(
      app, a, "touch", "Set an entry's times; makes an empty file where there is none",
      [&](auto& module, auto& drive) { return host::touch(module, drive, a.drive_path(), a.accessed, a.modified); });
  touch.add_option("PATH", a.path, "the entry")->required();
  const char* const dates = "RFC 3339, or as people write dates: 'yesterday 5pm', '3 days ago'";
  touch.add_option("--accessed", a.accessed, dates);
  touch.add_option("--modified", a.modified, dates);

  CLI::App& rm = add(app, a, "rm", "Remove a file or an empty folder",
                     [&](auto&, auto& drive) { return remove(drive, a.drive_path(), a.recursive); });
  rm.add_option("PATH", a.path, "the entry")->required();
  rm.add_flag("-r,--recursive", a.recursive, "a folder with all that is in it; links go, what they lead to stays");
}

void add_utility_commands(CLI::App& app, Arguments& a) {
  add(app, a, "date", "Tell what each of the module's readers makes of a date, in UTC",
      [&](auto& module, auto&) { return show_date(module, a.text); })
      .add_option("TEXT", a.text, "the date")
      ->required();

  CLI::App& profile = add(app, a, "profile", "Read a setting from a profile (INI) file",
                          [&](auto& module, auto&) { return show_setting(module, a.setting); });
  profile.add_option("FILE", a.setting.file, "the file")->required();
  profile.add_option("SECTION", a.setting.section, "the section's name, in any case")->required();
  profile.add_option("KEY", a.setting.key, "the key, in any case")->required();
  profile.add_option("--default", a.setting.default_value, "what to print where the module finds no value");
  profile.add_flag("--int", a.setting.number,
                   "as a number; a key that is missing from a file that opens counts as 0");
}

void add_mount_command(CLI::App& app, Arguments& a) {
  CLI::App& mount =
      add(app, a, "mount", "Mount a folder as a drive, for any program to work on", [&](auto& module, auto&) {
        return host::mount({module.file(), absolute_path(a.mount_root), absolute_path(a.path), a.cache, a.read_only,
                            a.foreground, a.verbose});
      });
  mount.add_option("MOUNTPOINT", a.path, "the empty folder at which it appears; not in the mounted one")->required();
  mount.add_option("--root", a.mount_root, "the folder to mount; the current one where left out");
  mount.add_option(
      "--cache", a.cache,
      "where files are kept that are written and not yet uploaded; the folder for temporary files where left out");
  mount.add_flag("--read-only", a.read_only, "nothing can be changed");
  mount.add_flag("--foreground", a.foreground, "stay until Ctrl-C, and print what goes wrong");
  mount.footer(
      "A file is uploaded when it is closed or synchronised, beside the older one, whose place it then takes. The\n"
      "protocol offers no links, modes, owners and extended attributes: making links fails, changing modes and "
      "owners\n"
      "has no effect, and a replaced file gets those of a new one. Links in the folder are followed; one that is\n"
      "written to becomes a file, and removing a folder's content through a link removes what the link leads to.\n"
      "To unmount: fusermount3 -u MOUNTPOINT, or umount MOUNTPOINT.");
}

int run(const Arguments& arguments) {
  ConsoleLog log;
  host::Module module(arguments.module);
  if (arguments.verbose) module.bind_logger(&log);
  host::Drive drive(module);
  return arguments.command(module, drive);
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  CLI::App app{
      "Does with a storage module what a drive client does: lists, reads, writes, moves and removes real "
      "files.",
      "localdisk-host"};
  app.add_option("--module", arguments.module, "the module's file; the one beside this program where left out");
  app.add_flag("--verbose", arguments.verbose, "print the module's log lines");
  app.require_subcommand(1);
  app.fallthrough();
  app.footer("Exit codes: 0 done, 1 the operation failed, 2 wrong usage or no module, 130 cancelled.");
  add_showing_commands(app, arguments);
  add_copying_commands(app, arguments);
  add_changing_commands(app, arguments);
  add_utility_commands(app, arguments);
  add_mount_command(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? host::exit_done : host::exit_usage;
  }
  try {
    return run(arguments);
  } catch (const host::ModuleError& error) {
    host::print_error(error.what());
    return host::exit_usage;
  } catch (const host::UsageError& error) {
    host::print_error(error.what());
    return host::exit_usage;
  } catch (const host::Interrupted&) {
    host::print_error("cancelled");
    return host::exit_cancelled;
  } catch (const host::OperationError& error) {
    host::print_error(error.what());
    return error.cancelled() ? host::exit_cancelled : host::exit_failed;
  } catch (const std::exception& error) {
    host::print_error(error.what());
    return host::exit_failed;
  }
}
