#include "common/profile/profile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>

#include "common/profile/profile_line.h"
#include "common/text/ascii.h"

namespace {

using localdisk::RequestedName;
using localdisk::trimmed;

constexpr std::size_t line_room = 2048;  // bytes, the terminator included

// A descriptor, for no mode of a stream keeps it from the host's children on every system.
class ProfileFile {
 public:
  explicit ProfileFile(const std::string& path) : descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor_ < 0 && errno == ENOMEM) throw std::bad_alloc();
  }
  ~ProfileFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  ProfileFile(const ProfileFile&) = delete;
  ProfileFile& operator=(const ProfileFile&) = delete;

  [[nodiscard]] bool is_open() const { return descriptor_ >= 0; }
  [[nodiscard]] ssize_t read(char* out, std::size_t count) const { return ::read(descriptor_, out, count); }

 private:
  int descriptor_;
};

// A line that has no room is several, and one with a zero byte ends there.
class Lines {
 public:
  explicit Lines(const ProfileFile& file) : file_(file) {}

  // The next line, trimmed; it stands until the next call. A file that can't be read further is at its end, and what
  // it gave of a line before is none.
  std::optional<std::string_view> next() {
    for (;;) {
      const char* const line = block_.data() + begin_;
      const std::size_t most = std::min(end_ - begin_, line_room - 1);
      const void* const line_end = std::memchr(line, '\n', most);
      if (line_end != nullptr) return take(static_cast<std::size_t>(static_cast<const char*>(line_end) - line) + 1);
      if (most == line_room - 1) return take(most);
      if (is_at_end_ || !fill()) return most > 0 && !has_failed_ ? take(most) : std::nullopt;
    }
  }

 private:
  std::optional<std::string_view> take(std::size_t count) {
    const std::string_view line(block_.data() + begin_, count);
    begin_ += count;
    return trimmed(line.substr(0, line.find('\0')));
  }

  bool fill() {
    std::memmove(block_.data(), block_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    const ssize_t count = file_.read(block_.data() + end_, block_.size() - end_);
    has_failed_ = count < 0;
    is_at_end_ = count <= 0;
    if (count > 0) end_ += static_cast<std::size_t>(count);
    return count > 0;
  }

  const ProfileFile& file_;
  std::array<char, std::size_t{16} * 1024> block_;
  std::size_t begin_ = 0, end_ = 0;  // of what was read and not taken
  bool is_at_end_ = false, has_failed_ = false;
};

bool skip_to_section(Lines& lines, const RequestedName& section) {
  while (const auto line = lines.next()) {
    const auto name = localdisk::section_name(*line);
    if (name && section.matches(*name)) return true;
  }
  return false;
}

std::optional<std::string> value_in_section(Lines& lines, const RequestedName& key) {
  while (const auto line = lines.next()) {
    if (line->starts_with('[')) return std::nullopt;
    const auto setting = localdisk::setting_in(*line);
    if (setting && key.matches(setting->key)) return std::string(setting->value);
  }
  return std::nullopt;
}

std::optional<std::string> find_value(const ProfileFile& file, const std::string& section, const std::string& key) {
  Lines lines(file);
  if (!skip_to_section(lines, RequestedName(trimmed(section)))) return std::nullopt;
  return value_in_section(lines, RequestedName(key));
}

// Answers how many bytes were put before the terminator; 0, with nothing touched, when there is no room for all.
unsigned int put(const std::string& text, char* destination, std::size_t room) {
  if (text.size() >= room) return 0;
  std::memcpy(destination, text.c_str(), text.size() + 1);
  return static_cast<unsigned int>(text.size());
}

}  // namespace

unsigned int GetPrivateProfileString(std::string section, std::string key, std::string default_value,
                                     char* destination, int size, std::string file) {
  if (destination == nullptr || size <= 0) return 0;
  const auto room = static_cast<std::size_t>(size);
  if (const ProfileFile profile(file); profile.is_open()) {
    const auto value = find_value(profile, section, key);
    const unsigned int count = value ? put(*value, destination, room) : 0;
    if (count != 0) return count;
  }
  return put(default_value, destination, room);
}

// The number is converted as atoi does it, but with a defined result for every text: atoi leaves those open
// that an int can't hold.
unsigned int GetPrivateProfileInt(std::string section, std::string key, unsigned int default_value,
                                  std::string file) {
  const ProfileFile profile(file);
  if (!profile.is_open()) return default_value;
  const auto value = find_value(profile, section, key);
  return value ? static_cast<unsigned int>(std::strtol(value->c_str(), nullptr, 10)) : 0;
}
