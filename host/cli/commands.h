// One function a command. Each prints to standard output and answers the exit code; what fails is thrown.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "host/client/drive.h"
#include "host/client/module.h"
#include "host/client/report.h"

namespace host {

// Which names ls shows: all where there is no expression.
struct Matching {
  std::optional<std::string> expression;
  bool ignore_case = false;
};

// A setting of a profile file and how to show it.
struct Setting {
  std::string file, section, key;
  std::optional<std::string> default_value;
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

int demo(const Module& module, Drive& drive, const std::string& folder);

}  // namespace host
