// ls
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/cli/entry_text.h"
#include "host/client/module_functions.h"
#include "host/client/paths.h"

namespace host {
namespace {

// What of a record the columns need: a large folder is held to be sorted.
struct Row {
  std::string name, modified;
  long long size;
  int type;
};

class Listing {
 public:
  Listing(const Session& session, const ListOptions& options)
      : session_(session), options_(options), functions_(session.module), tree_(session.module, session.drive) {}

  void print_file(const _FS_FILE_V2& file, const std::string& shown_as) {
    if (options_.json) return print_json(file);
    print_row({shown_as, file.mtime, file.size, file.type});
  }

  void print_folder(const std::string& path, const std::string& title) {
    if (!title.empty() && !options_.json) {
      fmt::print("{}{}:\n", blank_line_ ? "\n" : "", escaped_for_output(title));
    }
    blank_line_ = true;
    std::vector<std::string> folders;
    std::vector<Row> rows;
    const bool streams = options_.json && !options_.by_size && !options_.by_time && !options_.reverse;
    std::vector<_FS_FILE_V2> records;
    session_.drive.list(path, [&](const _FS_FILE_V2& file) {
      session_.report.interrupt().throw_if_interrupted();
      if (options_.recursive && file.type == FS_TYPE_DIRECTORY) folders.push_back(file.name);
      if (options_.expression && !functions_.matches(*options_.expression, file.name, options_.ignore_case)) return;
      if (streams) {
        print_json(file);
      } else if (options_.json) {
        records.push_back(file);
      } else {
        rows.push_back({file.name, file.mtime, file.size, file.type});
      }
    });
    const auto modified_of = [](const auto& one) -> const std::string& {
      if constexpr (std::is_same_v<std::decay_t<decltype(one)>, Row>)
        return one.modified;
      else
        return one.mtime;
    };
    const auto order = [&](const auto& one, const auto& other) {
      if (options_.by_size && one.size != other.size) return one.size > other.size;
      if (options_.by_time && modified_of(one) != modified_of(other)) return modified_of(one) > modified_of(other);
      return one.name < other.name;
    };
    const auto sort = [&](auto& all) {
      std::sort(all.begin(), all.end(), order);
      if (options_.reverse) std::reverse(all.begin(), all.end());
    };
    sort(rows);
    sort(records);
    for (const Row& row : rows) {
      session_.report.interrupt().throw_if_interrupted();
      print_row(row);
    }
    for (const _FS_FILE_V2& record : records) print_json(record);
    std::sort(folders.begin(), folders.end());
    for (const std::string& name : folders) print_below(below(path, name), title);
  }

 private:
  // Links to folders are shown and not gone into: they may lead in circles.
  void print_below(const std::string& folder, const std::string& title) {
    session_.report.attempt([&] {
      const std::optional<Entry> entry = tree_.find(folder);
      if (entry && entry->kind == Kind::folder) print_folder(folder, below(title, name_of(folder)));
    });
  }

  void print_row(const Row& row) const {
    if (options_.names_only) {
      fmt::print("{}\n", escaped_for_output(row.name));
    } else {
      const std::string size =
          options_.readable_sizes ? readable_bytes(static_cast<double>(row.size)) : std::to_string(row.size);
      fmt::print("{:<6} {:>14} {:<25}  {}\n", type_name(row.type), size, local_time(row.modified),
                 escaped_for_output(row.name));
    }
  }

  const Session& session_;
  const ListOptions& options_;
  ModuleFunctions functions_;
  DriveTree tree_;
  bool blank_line_ = false;
};

}  // namespace

int list_entries(const Session& session, const ListOptions& options) {
  Listing listing(session, options);
  std::vector<std::string> folders;
  for (const std::string& path : options.paths) {  // files first, as one list
    session.report.attempt([&] {
      const _FS_FILE_V2 file = session.drive.info(absolute_path(path));
      if (file.type == FS_TYPE_DIRECTORY) {
        folders.push_back(path);
      } else {
        listing.print_file(file, path);
      }
    });
  }
  const bool titles = options.recursive || options.paths.size() > 1;
  for (const std::string& path : folders) {
    session.report.attempt_more([&] { listing.print_folder(absolute_path(path), titles ? path : ""); });
  }
  flush_output();
  return session.report.finish();
}

}  // namespace host
