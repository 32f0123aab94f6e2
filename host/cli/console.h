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

// A line on standard error that tells how much of all that a command copies is done, how fast and what time is left;
// only on a terminal, and only where it takes a while.
class Progress {
 public:
  explicit Progress(bool quiet);
  ~Progress() { wipe(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  [[nodiscard]] bool is_wanted() const { return wanted_; }
  // Bytes that will be copied or skipped.
  void expect(long long bytes) { total_ += bytes; }
  // The file that is copied from here on; what was not expected is from now.
  void begin(std::string_view name, long long size);
  void show(long long done);    // of that file
  void finish(long long size);  // a file that is copied, skipped or has failed
  // Before another line is printed.
  void wipe();

 private:
  using Clock = std::chrono::steady_clock;
  void draw(Clock::time_point now);

  bool wanted_, shown_ = false;
  std::string name_;
  long long total_ = 0, finished_ = 0;  // with what was skipped
  long long copied_ = 0, current_ = 0;  // of the files before, of this one
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_ = start_ + std::chrono::milliseconds(300);
};

}  // namespace host
