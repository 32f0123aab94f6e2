#include "host/cli/console.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

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

std::string printable(std::string_view name) {
  static const bool terminal = ::isatty(STDOUT_FILENO) == 1;
  std::string text;
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (terminal && (byte < 0x20 || byte == 0x7F)) {
      text += fmt::format("\\x{:02x}", byte);
    } else {
      text += c;
    }
  }
  return text;
}

ProgressBar::ProgressBar(std::string label, long long total)
    : label_(std::move(label)), total_(total), terminal_(::isatty(STDERR_FILENO) == 1) {}

ProgressBar::~ProgressBar() {
  if (shown_) fmt::print(stderr, "\r\x1b[K");
}

void ProgressBar::show(long long done) {
  const Clock::time_point now = Clock::now();
  if (!terminal_ || now < next_) return;
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
