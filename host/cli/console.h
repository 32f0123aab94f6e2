// What the host prints.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace host {

// "1.5 MiB".
std::string readable_bytes(double bytes);

// A name for standard output: escaped where that is a terminal, as it is elsewhere.
std::string escaped_for_output(std::string_view name);

// Writes out what standard output holds; a full disk, which may show only now, is thrown.
void flush_output();

// A line on standard error that tells how much of a file is copied, how fast and what time is left; only on a
// terminal, and only where it takes a while.
class Progress {
 public:
  Progress(std::string_view label, long long total, bool quiet);
  ~Progress();  // wipes the line
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  void show(long long done);

 private:
  using Clock = std::chrono::steady_clock;
  std::string label_;
  long long total_;
  bool wanted_, shown_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_ = start_ + std::chrono::milliseconds(300);
};

}  // namespace host
