#include "host/mount/mount.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <vector>

#include "host/client/report.h"
#include "host/mount/options.h"

#if defined(__APPLE__)
#include <mach-o/dyld.h>
#endif

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr const char* program_name = "localdisk-mount";

fs::path executable() {
#if defined(__APPLE__)
  char path[4096] = {};
  std::uint32_t size = sizeof path;
  return ::_NSGetExecutablePath(path, &size) == 0 ? fs::path(path) : fs::path();
#else
  std::error_code unknown;
  return fs::read_symlink("/proc/self/exe", unknown);
#endif
}

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

// A program whose libraries are missing is ended by the loader, after lines about its files: none of them is shown.
bool starts(const fs::path& program) {
  std::vector<std::string> arguments{program.string(), start_check};
  posix_spawn_file_actions_t actions{};
  if (::posix_spawn_file_actions_init(&actions) != 0) return false;
  ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
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
        "Ubuntu: libfuse3-dev and fuse3)");
    return exit_usage;
  }
  if (!starts(program)) {
    print_error("mounting needs libfuse 3: install it (Debian and Ubuntu: the package fuse3)");
    return exit_usage;
  }
  std::vector<std::string> arguments = arguments_of(options);
  arguments.insert(arguments.begin(), program.string());
  ::execv(program.c_str(), argument_list(arguments).data());
  print_error(std::string("can't start ") + program.string() + ": " + std::strerror(errno));
  return exit_usage;
}

}  // namespace host
