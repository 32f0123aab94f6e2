#include "conformance/separate_process.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace {

int report_descriptor = -1;
volatile sig_atomic_t interrupted = 0;

void set_signal_handlers(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) ::sigaction(number, &action, nullptr);
}

// What the process reports until it ends; kills it when the time is up.
std::string collect(int descriptor, pid_t process, int seconds) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::seconds(seconds);
  std::string text;
  for (std::array<char, 4096> part;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd readable{descriptor, POLLIN, 0};
    if (left <= 0 || ::poll(&readable, 1, static_cast<int>(left)) <= 0) {
      ::kill(process, SIGKILL);
      return text + (was_interrupted() ? "interrupted\n" : fmt::format("No end after {} seconds\n", seconds));
    }
    const ssize_t got = ::read(descriptor, part.data(), part.size());
    if (got <= 0) return text;
    text.append(part.data(), static_cast<std::size_t>(got));
  }
}

}  // namespace

ProcessResult run_apart(const std::function<int()>& body, int seconds) {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) return {-1, {"No pipe to be had"}};
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  std::fflush(nullptr);
  const pid_t process = ::fork();
  if (process == 0) {
    ::close(ends[0]);
    set_signal_handlers(SIG_DFL);
    report_descriptor = ends[1];
    std::exit(body());  // with the sanitizers' work at exit, and what they then say as the exit code
  }
  ::close(ends[1]);
  ProcessResult result;
  std::istringstream text(process < 0 ? "No process to be had\n" : collect(ends[0], process, seconds));
  ::close(ends[0]);
  for (std::string line; std::getline(text, line);) result.lines.push_back(line);
  int status = 0;
  while (process > 0 && ::waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  if (process > 0 && WIFEXITED(status)) {
    result.exit_code = WEXITSTATUS(status);
    return result;
  }
  result.exit_code = -1;
  if (WIFSIGNALED(status) && WTERMSIG(status) != SIGKILL)
    result.lines.push_back(fmt::format("The process was ended by a signal: {}", ::strsignal(WTERMSIG(status))));
  return result;
}

void report_line(std::string_view line) {
  std::string text(line);
  for (char& c : text)
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  text += '\n';
  if (::write(report_descriptor, text.data(), text.size()) < 0) ::_exit(3);
}

void end_on_interrupt() {
  set_signal_handlers([](int) { interrupted = 1; });
}
bool was_interrupted() { return interrupted != 0; }
