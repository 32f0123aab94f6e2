#include "common/process/read_output.h"

#include <cerrno>

namespace localdisk {
namespace {

constexpr int longest_part = 127;  // bytes

// The host's signals, the end of the command among them, interrupt reads without anything being wrong.
int next_byte(std::FILE& stream) {
  for (;;) {
    const int byte = getc_unlocked(&stream);
    if (byte != EOF || std::feof(&stream) != 0 || errno != EINTR) return byte;
    std::clearerr(&stream);
  }
}

// Takes what one fgets with a buffer of 128 bytes takes; fgets itself would lose what it holds when a signal
// comes. Answers false at the end.
bool append_part(std::FILE& stream, std::string& output) {
  bool cut = false;
  for (int count = 0; count < longest_part; ++count) {
    const int byte = next_byte(stream);
    if (byte == EOF) return false;
    cut = cut || byte == '\0';
    if (!cut) output.push_back(static_cast<char>(byte));
    if (byte == '\n') break;
  }
  return true;
}

}  // namespace

std::string read_output(std::FILE& stream) {
  std::string output;
  while (append_part(stream, output)) {
  }
  return output;
}

}  // namespace localdisk
