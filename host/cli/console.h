// What the host prints.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace host {

// "1.5 MiB".
std::string readable_bytes(double bytes);

// A name for the terminal: control characters become escapes when standard output is one. Other bytes stay,
// whatever encoding they are in.
std::string printable(std::string_view name);

// A bar on standard error that tells bytes, rate and the time left; nothing at all when that is not a
// terminal.
class ProgressBar {
 public:
  ProgressBar(std::string label, long long total);
  ~ProgressBar();  // wipes the bar
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  void show(long long done);

 private:
  using Clock = std::chrono::steady_clock;
  std::string label_;
  long long total_;
  bool terminal_;
  bool shown_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_ = start_;
};

}  // namespace host
