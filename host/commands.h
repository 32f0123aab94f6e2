// One function a command. Each prints to standard output and answers the exit code; what fails is thrown.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "host/drive.h"
#include "host/module.h"

namespace host {

inline constexpr int exit_done = 0, exit_failed = 1, exit_usage = 2, exit_cancelled = 130;

// Something that only the commands can tell is wrong: with the work, or with how they were called.
struct CommandError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Which names ls shows: all where there is no expression.
struct Matching {
  std::optional<std::string> expression;
  bool ignore_case = false;
};

// A setting of a profile file and how to show it.
struct Setting {
  std::string file, section, key;
  std::optional<std::string> otherwise;
  bool number = false;
};

int show_info(const Module& module, Drive& drive, const std::string& root);
int list_folder(const Module& module, Drive& drive, const std::string& path, const Matching& matching, bool json);
int show_entry(Drive& drive, const std::string& path, bool json);
int print_content(Drive& drive, const std::string& path, long long offset, std::optional<long long> length);

int get(Drive& drive, const std::string& path, const std::filesystem::path& local, bool recursive);
int put(Drive& drive, const std::filesystem::path& local, const std::string& path, bool recursive);
int move(Drive& drive, const std::string& path, const std::string& target);
int make_directory(Drive& drive, const std::string& path, bool parents);
int remove(Drive& drive, const std::string& path, bool recursive);

// Dates as people write them, or RFC 3339; the time that is left out stays, or both become the current one.
int touch(const Module& module, Drive& drive, const std::string& path, const std::optional<std::string>& accessed,
          const std::optional<std::string>& modified);
int show_date(const Module& module, const std::string& text);
int show_setting(const Module& module, const Setting& setting);

struct MountOptions {
  std::string root, mount_point;  // absolute
  std::filesystem::path cache;    // the folder in which the cache gets one of its own; for temporary files if empty
  bool read_only = false, foreground = false;
};
int mount(Drive& drive, const MountOptions& options);

int demo(const Module& module, Drive& drive, const std::string& folder);

}  // namespace host
