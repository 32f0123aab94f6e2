#include "common/process/command.h"

#include <fcntl.h>

#include <cerrno>
#include <memory>
#include <stdexcept>

namespace {

constexpr int longest_part = 127;  // bytes

std::FILE* open_command(const char* command) {
#if defined(__linux__)
  return ::popen(command, "re");
#else
  std::FILE* stream = ::popen(command, "r");  // where "e" is unknown, the mark follows a moment later
  if (stream != nullptr) ::fcntl(::fileno(stream), F_SETFD, FD_CLOEXEC);
  return stream;
#endif
}

std::shared_ptr<std::FILE> start(const std::string& command) {
  std::FILE* stream = open_command(command.c_str());
  if (stream == nullptr) throw std::runtime_error("popen() failed!");
  return {stream, [](std::FILE* open) { ::pclose(open); }};
}

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

std::string pexec(std::string command) {
  const auto stream = start(command);
  return rest_of(*stream);
}

std::string rest_of(std::FILE& stream) {
  std::string output;
  while (append_part(stream, output)) {
  }
  return output;
}
