#include "common/process/command.h"

#include <fcntl.h>

#include <cstdio>
#include <memory>
#include <stdexcept>

#include "common/process/read_output.h"

namespace {

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

}  // namespace

std::string pexec(std::string command) {
  const auto stream = start(command);
  return localdisk::read_output(*stream);
}
