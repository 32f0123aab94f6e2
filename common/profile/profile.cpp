#include "common/profile/profile.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "common/profile/profile_line.h"
#include "common/text/ascii.h"

namespace {

using localdisk::RequestedName;
using localdisk::trimmed;

constexpr std::size_t line_room = 2048;  // bytes, the terminator included

struct StreamCloser {
  void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

// Null when the file can't be opened. Opened as a descriptor first, for no mode of a stream keeps it from the host's
// children on every system.
Stream open_profile(const std::string& file) {
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  Stream stream(descriptor < 0 ? nullptr : ::fdopen(descriptor, "r"));
  if (stream == nullptr) {
    const int reason = errno;
    if (descriptor >= 0) ::close(descriptor);
    if (reason == ENOMEM) throw std::bad_alloc();
  }
  return stream;
}

class Lines {
 public:
  explicit Lines(std::FILE& stream) : stream_(stream) {}

  // The next line, trimmed; it stands until the next call. A failing stream is at its end, for it may never get
  // there.
  std::optional<std::string_view> next() {
    if (std::fgets(line_.data(), static_cast<int>(line_.size()), &stream_) == nullptr) return std::nullopt;
    return trimmed(line_.data());
  }

 private:
  std::FILE& stream_;
  std::array<char, line_room> line_;
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

std::optional<std::string> find_value(std::FILE& stream, const std::string& section, const std::string& key) {
  Lines lines(stream);
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
  if (const Stream stream = open_profile(file)) {
    const auto value = find_value(*stream, section, key);
    const unsigned int count = value ? put(*value, destination, room) : 0;
    if (count != 0) return count;
  }
  return put(default_value, destination, room);
}

// The number is converted as atoi does it, but with a defined result for every text: atoi leaves those open
// that an int can't hold.
unsigned int GetPrivateProfileInt(std::string section, std::string key, unsigned int default_value,
                                  std::string file) {
  const Stream stream = open_profile(file);
  if (stream == nullptr) return default_value;
  const auto value = find_value(*stream, section, key);
  return value ? static_cast<unsigned int>(std::strtol(value->c_str(), nullptr, 10)) : 0;
}
