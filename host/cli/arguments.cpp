#include "host/cli/arguments.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <memory>

#include "host/client/paths.h"
#include "host/mount/mount.h"

namespace host {
namespace {

struct MountArguments {
  std::string root = ".", mount_point, cache;
  bool read_only = false, foreground = false;
};

// Filled by the parser, read by the command that was chosen.
struct Arguments {
  Request request;
  std::string folder, text, root = "/", topic;
  std::vector<std::string> paths;
  bool version = false, json = false, recursive = false, parents = false;
  long long offset = 0;
  std::optional<long long> length;
  std::optional<std::string> accessed, modified;
  ListOptions list;
  CopyOptions copy;
  SyncOptions sync;
  Setting setting;
  MountArguments mount;
};

// Several positional arguments that only together say what each is, as "PATH... LOCAL": an option's name may hold no
// blank, so these words are its text, and stand for the name.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_name(const CLI::Option* option, bool is_positional) const override {
    return has_words(option) ? option->get_option_text() : CLI::Formatter::make_option_name(option, is_positional);
  }
  std::string make_option_opts(const CLI::Option* option) const override {
    return has_words(option) ? "" : CLI::Formatter::make_option_opts(option);
  }
  std::string make_option_usage(const CLI::Option* option) const override {
    return has_words(option) ? option->get_option_text() : CLI::Formatter::make_option_usage(option);
  }

 private:
  static bool has_words(const CLI::Option* option) { return !option->get_option_text().empty(); }
};

CLI::App& add(CLI::App& app, Arguments& a, const char* name, const char* help, Command command) {
  CLI::App* const added = app.add_subcommand(name, help);
  added->callback([&a, command = std::move(command)] { a.request.command = command; });
  return *added;
}

// The library's own check names a range of 300 digits.
CLI::Validator count_of_bytes() {
  const auto check = [](const std::string& text) {
    unsigned long long value = 0;
    const char* const end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, value);
    const bool good = error == std::errc() && at == end && value <= 0x7FFFFFFFFFFFFFFF;
    return good ? std::string() : fmt::format("'{}' is no number of bytes", text);
  };
  return {check, ""};
}

void add_showing_commands(CLI::App& app, Arguments& a) {
  add(app, a, "info", "Tell what the module is and what it says of user, root and volume",
      [&](auto& session) { return show_info(session, a.root); })
      .add_option("--root", a.root, "the folder whose volume is measured")
      ->capture_default_str();

  CLI::App& ls = add(app, a, "ls", "List folders: kind, size, local modification time and name",
                     [&](auto& session) { return list_entries(session, a.list); });
  ls.set_help_flag("--help", "print this help and exit");
  ls.add_option("PATH", a.list.paths, "folders, and files, which are shown themselves")->required();
  ls.add_flag(
      "-l", [](auto) {}, "kind, size, time and name: the rule");
  ls.add_flag(
      "-a,--all", [](auto) {}, "names that begin with a dot too: the rule");
  ls.add_flag("-1", a.list.names_only, "names only");
  ls.add_flag("-R,--recursive", a.list.recursive, "folders in them too; links are not followed");
  ls.add_flag("-S", a.list.by_size, "the largest first");
  ls.add_flag("-t", a.list.by_time, "the newest first");
  ls.add_flag("-r,--reverse", a.list.reverse, "in reverse order");
  ls.add_flag("-h,--human", a.list.readable_sizes, "sizes as 1.5 MiB");
  ls.add_option("--match", a.list.expression, "only names that match: * ? and the module's < > \"");
  ls.add_flag("--ignore-case", a.list.ignore_case, "letters match in either case")->needs("--match");
  ls.add_flag("--json", a.list.json,
              "an object a line, with times in UTC; of names that are not UTF-8 it tells the bytes too");

  CLI::App& stat = add(app, a, "stat", "Describe entries; links are followed",
                       [&](auto& session) { return show_entries(session, a.paths, a.json); });
  stat.add_option("PATH", a.paths, "the entries")->required();
  stat.add_flag("--json", a.json, "as ls does");

  CLI::App& cat = add(app, a, "cat", "Write files' bytes to standard output",
                      [&](auto& session) { return print_content(session, a.paths, a.offset, a.length); });
  cat.add_option("PATH", a.paths, "the files")->required();
  cat.add_option("--offset", a.offset, "the first byte")->check(count_of_bytes());
  cat.add_option("--length", a.length, "how many bytes; to the end where left out")->check(count_of_bytes());
}

void add_copying_commands(CLI::App& app, Arguments& a) {
  CLI::App& get = add(app, a, "get", "Copy from the drive, with modification times",
                      [&](auto& session) { return host::get(session, a.copy); });
  get.add_option("PATH", a.copy.paths,
                 "what to copy, and where to: a folder receives it under its name, - is standard output")
      ->option_text("PATH... LOCAL");
  CLI::App& put = add(app, a, "put", "Copy to the drive, with modification times",
                      [&](auto& session) { return host::put(session, a.copy); });
  put.add_option("LOCAL", a.copy.paths,
                 "what to copy, - for standard input, and where to: a folder receives it under its name")
      ->option_text("LOCAL... PATH");
  for (CLI::App* copy : {&get, &put}) {
    copy->get_options().back()->required()->expected(2, 1 << 24);
    copy->add_flag("-r,--recursive", a.copy.recursive, "folders with all that is in them");
  }

  CLI::App& sync = add(app, a, "sync", "Make a folder of the drive equal to a local one, or the other way round",
                       [&](auto& session) { return host::sync(session, a.sync); });
  sync.add_option("FROM", a.sync.from, "the local folder; with --down the drive's")->required();
  sync.add_option("TO", a.sync.to, "the drive's folder; with --down the local one")->required();
  sync.add_flag("--down", a.sync.down, "from the drive to this machine");
  sync.add_flag("--checksum", a.sync.checksum, "compare contents too, where sizes and times are equal");
  sync.add_flag("--delete", a.sync.deletes, "delete what FROM has not; nothing if anything failed before");
  sync.add_flag("--dry-run", a.sync.dry_run, "name what would be done, and do nothing");
  sync.add_option("--exclude", a.sync.excluded, "names to leave alone on both sides: * ? and the module's < > \"")
      ->expected(1)
      ->take_all();
  sync.footer(
      "Copies what differs in size or modification time, in whole seconds. Links to folders, pipes and devices are\n"
      "skipped. What TO holds through a link is not deleted.");

  add(app, a, "demo", "Copy a folder through the module and back, and compare every byte", [&](auto& session) {
    return demo(session, a.folder);
  }).add_option("FOLDER", a.folder, "the folder; the project's own where left out");
}

void add_changing_commands(CLI::App& app, Arguments& a) {
  add(app, a, "mv", "Move or rename entries; a file of that name is replaced",
      [&](auto& session) { return host::move(session, a.paths); })
      .add_option("PATH", a.paths, "the entries, and the new path, or a folder that receives them")
      ->option_text("PATH... TARGET")
      ->required()
      ->expected(2, 1 << 24);

  CLI::App& mkdir =
      add(app, a, "mkdir", "Make folders", [&](auto& session) { return make_folders(session, a.paths, a.parents); });
  mkdir.add_option("PATH", a.paths, "the folders")->required();
  mkdir.add_flag("-p,--parents", a.parents, "with the folders above; fine when it is there already");

  CLI::App& touch = add(app, a, "touch", "Set entries' times; makes an empty file where there is none",
                        [&](auto& session) { return host::touch(session, a.paths, a.accessed, a.modified); });
  touch.add_option("PATH", a.paths, "the entries")->required();
  const char* const dates = "RFC 3339, or as people write dates: 'yesterday 5pm', '3 days ago'";
  touch.add_option("--accessed", a.accessed, dates);
  touch.add_option("--modified", a.modified, dates);

  CLI::App& rm = add(app, a, "rm", "Remove files and empty folders",
                     [&](auto& session) { return host::remove(session, a.paths, a.recursive); });
  rm.add_option("PATH", a.paths, "the entries")->required();
  rm.add_flag("-r,--recursive", a.recursive, "folders with all that is in them; what links lead to stays");
}

void add_utility_commands(CLI::App& app, Arguments& a) {
  add(app, a, "date", "Tell what each of the module's readers makes of a date, in UTC",
      [&](auto& session) { return show_date(session, a.text); })
      .add_option("TEXT", a.text, "the date")
      ->required();

  CLI::App& profile = add(app, a, "profile", "Read a setting from a profile (INI) file",
                          [&](auto& session) { return show_setting(session, a.setting); });
  profile.add_option("FILE", a.setting.file, "the file")->required();
  profile.add_option("SECTION", a.setting.section, "the section's name, in any case")->required();
  profile.add_option("KEY", a.setting.key, "the key, in any case")->required();
  profile.add_option("--default", a.setting.default_value, "what to print where the module finds no value");
  profile.add_flag("--int", a.setting.number,
                   "as a number; a key that is missing from a file that opens counts as 0");

  app.add_subcommand("help", "Tell what there is, or what a command takes")
      ->add_option("COMMAND", a.topic, "the command");
}

void add_mount_command(CLI::App& app, Arguments& a) {
  MountArguments& m = a.mount;
  CLI::App& mount = add(app, a, "mount", "Mount a folder as a drive, for any program to work on", [&](auto& session) {
    let_signals_end_the_process();
    session.report.interrupt().throw_if_interrupted();  // by one that came before
    return host::mount({session.module.file(), absolute_path(m.root), absolute_path(m.mount_point), m.cache,
                        m.read_only, m.foreground, a.request.verbose});
  });
  mount.add_option("MOUNTPOINT", m.mount_point, "the empty folder at which it appears; not in the mounted one")
      ->required();
  mount.add_option("--root", m.root, "the folder to mount; the current one where left out");
  mount.add_option(
      "--cache", m.cache,
      "where files are kept that are written and not yet uploaded; a folder of the user's where left out");
  mount.add_flag("--read-only", m.read_only, "nothing can be changed");
  mount.add_flag("--foreground", m.foreground, "stay until Ctrl-C, and print what goes wrong");
}

bool is_option(const std::string& word) { return word.size() > 1 && word[0] == '-'; }

// One line that names what is wrong.
std::string explain(const CLI::App& app, const CLI::ParseError& error) {
  const auto chosen = app.get_subcommands();
  const std::string command = chosen.empty() ? "" : chosen.front()->get_name();
  const std::string help = command.empty() ? "try --help" : fmt::format("try {} --help", command);
  const std::vector<std::string> left = app.remaining(/*recurse=*/true);
  for (const std::string& word : left) {
    if (is_option(word)) return fmt::format("no option '{}'; {}", word, help);
  }
  if (command.empty() && !left.empty()) return fmt::format("no command '{}'; try --help", left.front());
  if (command.empty() && dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr &&
      dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
    return "which command? try --help";
  }
  if (!left.empty()) return fmt::format("{}: '{}' is one argument too many; {}", command, left.front(), help);
  return fmt::format("{}{}{}; {}", command, command.empty() ? "" : ": ", error.what(), help);
}

std::string help_text(const CLI::App& app, const std::string& topic) {
  if (topic.empty()) return app.help();
  for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (command->get_name() == topic) return command->help("localdisk-host");
  }
  throw UsageError(fmt::format("no command '{}'; try --help", topic));
}

}  // namespace

Request parse_arguments(int argc, char** argv) {
  static Arguments a;
  static CLI::App app{
      "Does with a storage module what a drive client does: lists, reads, writes, moves and removes real "
      "files.",
      "localdisk-host"};
  app.formatter(std::make_shared<HelpFormatter>());
  app.add_option("--module", a.request.module, "the module's file; the one beside this program where left out");
  app.add_flag("-v,--verbose", a.request.verbose, "print the module's log lines");
  app.add_flag("-q,--quiet", a.request.quiet, "print failures alone: no counts, no progress, not what is skipped");
  app.add_flag("--version", a.version, "print the version and exit");
  app.require_subcommand(0, 1);
  app.fallthrough();
  app.footer("Exit codes: 0 done, 1 something failed, 2 wrong usage or no module, 130 cancelled.");
  add_showing_commands(app, a);
  add_copying_commands(app, a);
  add_changing_commands(app, a);
  add_utility_commands(app, a);
  add_mount_command(app, a);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    const auto chosen = app.get_subcommands();
    a.request.text = help_text(app, chosen.empty() ? "" : chosen.front()->get_name());
    return a.request;
  } catch (const CLI::ParseError& error) {
    throw UsageError(explain(app, error));
  }
  if (a.version) {
    a.request.text = "localdisk-host " LOCALDISK_VERSION "\n";
  } else if (app.got_subcommand("help")) {
    a.request.text = help_text(app, a.topic);
  } else if (!a.request.command) {
    throw UsageError("which command? try --help");
  }
  return a.request;
}

}  // namespace host
