#include "host/cli/console.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "host/client/report.h"

namespace host {

std::string readable_bytes(double bytes) {
  constexpr std::array units{"B", "KiB", "MiB", "GiB", "TiB", "PiB"};
  std::size_t unit = 0;
  while (bytes >= 1024 && unit + 1 < units.size()) {
    bytes /= 1024;
    ++unit;
  }
  return fmt::format("{:.{}f} {}", bytes, unit == 0 ? 0 : 1, units[unit]);
}

std::string escaped_for_output(std::string_view name) {
  static const bool terminal = ::isatty(STDOUT_FILENO) == 1;
  return terminal ? escaped(name) : std::string(name);
}

void flush_output() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw std::system_error(errno, std::generic_category(), "can't write to standard output");
  }
}

Progress::Progress(std::string_view label, long long total, bool quiet)
    : label_(escaped(label)), total_(total), wanted_(!quiet && ::isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (shown_) fmt::print(stderr, "\r\x1b[K");
}

void Progress::show(long long done) {
  const Clock::time_point now = Clock::now();
  if (!wanted_ || now < next_) return;
  next_ = now + std::chrono::milliseconds(100);
  shown_ = true;
  constexpr int width = 30;
  const double share = total_ > 0 ? std::min(1.0, static_cast<double>(done) / static_cast<double>(total_)) : 1.0;
  const double seconds = std::max(0.001, std::chrono::duration<double>(now - start_).count());
  const double rate = static_cast<double>(done) / seconds;
  const double left = rate > 0 ? static_cast<double>(total_ - done) / rate : 0;
  const int filled = static_cast<int>(share * width);
  fmt::print(stderr, "\r{:.24} [{:#<{}}{:.<{}}] {:3.0f}%  {} of {}  {}/s  {:.0f} s left\x1b[K", label_, "", filled,
             "", width - filled, share * 100, readable_bytes(static_cast<double>(done)),
             readable_bytes(static_cast<double>(total_)), readable_bytes(rate), left);
  std::fflush(stderr);
}

}  // namespace host
