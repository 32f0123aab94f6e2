#include "host/mount/mount.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/client/executable.h"
#include "host/client/report.h"
#include "host/mount/options.h"

#if defined(__APPLE__)
extern "C" char** environ;  // which no header declares there
#endif

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr const char* program_name = "localdisk-mount";

// Beside this program, where it is built, or in the folder of the installed module; empty where it is in neither.
fs::path find_program() {
  const fs::path here = executable().parent_path();
  for (const fs::path& folder : {here, here.parent_path() / "lib/localdisk"}) {
    if (::access((folder / program_name).c_str(), X_OK) == 0) return folder / program_name;
  }
  return {};
}

std::vector<char*> argument_list(std::vector<std::string>& arguments) {
  std::vector<char*> list;
  list.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) list.push_back(argument.data());
  list.push_back(nullptr);
  return list;
}

// Starts the program with its standard error at that descriptor and waits for its end.
bool starts(const fs::path& program, int standard_error) {
  std::vector<std::string> arguments{program.string(), start_check};
  posix_spawn_file_actions_t actions{};
  if (::posix_spawn_file_actions_init(&actions) != 0) return false;
  ::posix_spawn_file_actions_adddup2(&actions, standard_error, STDERR_FILENO);
  pid_t child = 0;
  char* const* const environment = environ;
  const int failed =
      ::posix_spawn(&child, program.c_str(), &actions, nullptr, argument_list(arguments).data(), environment);
  ::posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (failed != 0) return false;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return false;
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == exit_done;
}

// The library that the program lacks, empty where it starts. The loader, which ends a program whose libraries are
// missing, names it in lines about files, of which nothing else is shown; releases of a system may have it by another
// number.
std::string missing_library(const fs::path& program) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> said(std::tmpfile(), &std::fclose);
  if (starts(program, said ? ::fileno(said.get()) : STDERR_FILENO)) return {};
  char text[1024] = {};
  if (said) {
    std::rewind(said.get());
    text[std::fread(text, 1, sizeof text - 1, said.get())] = '\0';
  }
  const char* const name = std::strstr(text, "libfuse");
  return name == nullptr ? "libfuse 3" : std::string(name, std::strcspn(name, ": '\"\n"));
}

}  // namespace

void let_signals_end_the_process() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction now {};
    if (::sigaction(signal, nullptr, &now) == 0 && now.sa_handler != SIG_IGN) std::signal(signal, SIG_DFL);
  }
}

int mount(const MountOptions& options) {
  const fs::path program = find_program();
  if (program.empty()) {
    print_error(
        "mounting needs the program localdisk-mount, which was not installed: build with libfuse 3 (Debian and "
        "Ubuntu: libfuse3-dev and fuse3; macOS: macFUSE)");
    return exit_usage;
  }
  if (const std::string missing = missing_library(program); !missing.empty()) {
    print_error("mounting needs " + missing + ": install it (Debian and Ubuntu: the package fuse3)");
    return exit_usage;
  }
  std::vector<std::string> arguments = arguments_of(options);
  arguments.insert(arguments.begin(), program.string());
  ::execv(program.c_str(), argument_list(arguments).data());
  print_error(std::string("can't start ") + program.string() + ": " + std::strerror(errno));
  return exit_usage;
}

}  // namespace host
