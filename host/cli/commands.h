// One function a command. Each prints to standard output and gives the exit code; what fails is thrown, or told by
// the session's report where a command works on several entries. Paths are as the user typed them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/cli/transfer.h"
#include "host/client/report.h"

namespace host {

struct ListOptions {
  std::vector<std::string> paths;
  std::optional<std::string> expression;  // which names are shown: all where there is none
  bool ignore_case = false;
  bool json = false, names_only = false, readable_sizes = false, recursive = false;
  bool by_size = false, by_time = false, reverse = false;
};

struct CopyOptions {
  std::vector<std::string> paths;  // the last one is the target
  bool recursive = false;
};

struct SyncOptions {
  std::string from, to;
  bool down = false, checksum = false, deletes = false, dry_run = false;
  std::vector<std::string> excluded;
};

// A setting of a profile file and how to show it.
struct Setting {
  std::string file, section, key;
  std::optional<std::string> default_value;
  bool number = false;
};

int show_info(const Session& session, const std::string& root);
int list_entries(const Session& session, const ListOptions& options);
int show_entries(const Session& session, const std::vector<std::string>& paths, bool json);
int print_content(const Session& session, const std::vector<std::string>& paths, long long offset,
                  std::optional<long long> length);

int get(const Session& session, const CopyOptions& options);
int put(const Session& session, const CopyOptions& options);
int sync(const Session& session, const SyncOptions& options);
int move(const Session& session, const std::vector<std::string>& paths);
int make_folders(const Session& session, const std::vector<std::string>& paths, bool parents);
int remove(const Session& session, const std::vector<std::string>& paths, bool recursive);

// Dates as people write them, or RFC 3339; the time that is left out stays, or both become the current one.
int touch(const Session& session, const std::vector<std::string>& paths, const std::optional<std::string>& accessed,
          const std::optional<std::string>& modified);
int show_date(const Session& session, const std::string& text);
int show_setting(const Session& session, const Setting& setting);

int demo(const Session& session, const std::string& folder);

}  // namespace host
