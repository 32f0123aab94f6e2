// Lines: section, key, then a profile file. What is read is a value of the file or the default, whole.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "common/profile/profile.h"
#include "fuzz/target.h"

namespace {

// A file in memory, with a name as the reader wants one.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& content) : descriptor_(::memfd_create("profile", MFD_CLOEXEC)) {
    HOLDS(descriptor_ >= 0 &&
          ::write(descriptor_, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
  }
  ~MemoryFile() { ::close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  [[nodiscard]] std::string name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

struct Answer {
  unsigned int count;
  std::string text;
};

Answer ask(const MemoryFile& file, const std::string& section, const std::string& key, int size) {
  std::array<char, 4096> room;
  room.fill('#');
  const unsigned int count = GetPrivateProfileString(section, key, "the default", room.data(), size, file.name());
  HOLDS(count < 4096 && count < static_cast<unsigned int>(std::max(size, 1)));
  HOLDS(count == 0 || std::strlen(room.data()) == count);
  const auto end = room.begin() + (count == 0 ? 1 : count + 1);
  HOLDS(std::all_of(end, room.end(), [](char c) { return c == '#'; }));
  return {count, count == 0 ? "" : room.data()};
}

}  // namespace

FUZZ_TARGET(profile) {
  const std::string section = input.line(), key = input.line(), content = input.rest();
  const MemoryFile file(content);
  const Answer answer = ask(file, section, key, 4096);
  HOLDS(answer.text == "the default" || content.find(answer.text) != std::string::npos);
  HOLDS(answer.text == "the default" || answer.text.find('=') == std::string::npos);
  if (answer.text != "the default") {
    HOLDS(ask(file, section, key, static_cast<int>(answer.count) + 1).text == answer.text);
    const Answer less = ask(file, section, key, static_cast<int>(answer.count));
    HOLDS(less.text == (answer.count > 11 ? "the default" : ""));
    const auto number = static_cast<unsigned int>(std::strtol(answer.text.c_str(), nullptr, 10));
    HOLDS(GetPrivateProfileInt(section, key, 77, file.name()) == number);
  }
  // A section that stands before all is found whatever follows it.
  const MemoryFile led("[the first of all]\nkey=value\n" + content);
  HOLDS(ask(led, " The First Of All\t", "KEY", 4096).text == "value");
}
