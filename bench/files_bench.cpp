#include <sys/stat.h>
#include <sys/time.h>
#include <time.h>

#include <array>
#include <cstdio>
#include <string>

#include "bench/fixtures.h"
#include "bench/rows.h"

namespace {

const std::string& examined_file() {
  static const std::string path = bench::text_file("examined.txt", "content");
  return path;
}

_FS_FILE_V2 record_named(const char* name) {
  _FS_FILE_V2 record;
  record.name = name;
  return record;
}

int describe() {
  static _FS_FILE_V2 record;
  return bench::drive().GetFileInfo(examined_file().c_str(), &record, nullptr);
}

int examine(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status);
}

int make_and_remove_folder() {
  static const std::string parent = bench::memory_folder();
  static _FS_FILE_V2 record = record_named("made");
  const int made = bench::drive().CreateDirectory(parent.c_str(), &record, nullptr);
  return made + bench::drive().DeleteDirectory(&record, nullptr);
}

int make_and_remove_folder_by_system_calls() {
  static const std::string parent = bench::memory_folder();
  static const std::string path = parent + "/made";
  int failures = examine(parent) + ::mkdir(path.c_str(), 0755) + examine(path);
  ::tzset();
  return failures + examine(path) + std::remove(path.c_str());
}

int move_there_and_back() {
  static const std::string parent = bench::memory_folder();
  static const std::string from = bench::text_file("moved-1.txt", "content");
  static const std::string to = parent + "/moved-2.txt";
  static _FS_FILE_V2 there = record_named("moved-2.txt");
  static _FS_FILE_V2 back = record_named("moved-1.txt");
  const int moved = bench::drive().Move(from.c_str(), parent.c_str(), &there, nullptr);
  return moved + bench::drive().Move(to.c_str(), parent.c_str(), &back, nullptr);
}

int move_by_system_calls(const std::string& from, const std::string& to) {
  const int failures = examine(from) + ::rename(from.c_str(), to.c_str()) + examine(to);
  ::tzset();
  return failures;
}

int move_there_and_back_by_system_calls() {
  static const std::string from = bench::text_file("moved-1.txt", "content");
  static const std::string to = bench::memory_folder() + "/moved-2.txt";
  return move_by_system_calls(from, to) + move_by_system_calls(to, from);
}

constexpr const char* new_time = "2024-03-05T14:07:09.000Z";

int set_times() {
  return bench::drive().SetFileTime(examined_file().c_str(), new_time, new_time, new_time, nullptr, nullptr);
}

int set_times_by_system_calls() {
  const auto instant = [] {
    tm fields{};
    fields.tm_year = 124;
    fields.tm_mon = 2;
    fields.tm_mday = 5;
    fields.tm_hour = 14;
    return ::mktime(&fields);
  };
  const int failures = examine(examined_file());
  const std::array<timeval, 2> times{{{instant(), 0}, {instant(), 0}}};
  return failures + ::utimes(examined_file().c_str(), times.data());
}

}  // namespace

void bench::add_file_rows() {
  Row("GetFileInfo").module(describe).baseline([] {
    ::tzset();
    return examine(examined_file());
  });
  Row("CreateDirectory + Delete", 2).module(make_and_remove_folder).baseline(make_and_remove_folder_by_system_calls);
  Row("Move", 2).module(move_there_and_back).baseline(move_there_and_back_by_system_calls);
  Row("SetFileTime").module(set_times).baseline(set_times_by_system_calls);
}

// Describing an entry asks the system twice where TZ is unset: for the entry, and, in tzset, whether the machine's
// zone has changed. Where TZ is set only the first is left.
void bench::add_file_rows_with_zone() {
  Row("GetFileInfo, TZ set")
      .module([] {
        set_zone();
        return describe();
      })
      .baseline([] { return examine(examined_file()); });
}
