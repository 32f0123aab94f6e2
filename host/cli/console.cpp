#include "host/cli/console.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

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

Progress::Progress(bool quiet) : wanted_(!quiet && ::isatty(STDERR_FILENO) == 1) {}

void Progress::begin(std::string_view name, long long size) {
  name_ = escaped(name);
  current_ = 0;
  total_ = std::max(total_, finished_ + size);
}

void Progress::finish(long long size) {
  finished_ += size;
  copied_ += std::exchange(current_, 0);
}

void Progress::show(long long done) {
  current_ = done;
  const Clock::time_point now = Clock::now();
  if (!wanted_ || now < next_) return;
  next_ = now + std::chrono::milliseconds(100);
  draw(now);
}

void Progress::draw(Clock::time_point now) {
  shown_ = true;
  const auto done = static_cast<double>(std::min(finished_ + current_, total_)), total = static_cast<double>(total_);
  const double seconds = std::max(0.001, std::chrono::duration<double>(now - start_).count());
  const double rate = static_cast<double>(copied_ + current_) / seconds;
  const auto left = static_cast<long long>(done > 0 ? std::min(1e9, (total - done) * seconds / done) : 0);
  fmt::print(stderr, "\r{:.16}  {:.0f}%  {} of {}  {}/s  {}:{:02}:{:02} left\x1b[K", name_,
             total > 0 ? 100 * done / total : 100, readable_bytes(done), readable_bytes(total), readable_bytes(rate),
             left / 3600, left / 60 % 60, left % 60);
  std::fflush(stderr);
}

void Progress::wipe() {
  if (std::exchange(shown_, false)) std::fputs("\r\x1b[K", stderr);
}

}  // namespace host
