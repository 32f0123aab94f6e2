#include "host/mount/end_signals.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

#include "host/client/errors.h"

namespace host {
namespace {

constexpr std::array end_signals{SIGINT, SIGTERM, SIGHUP};
constexpr char for_the_end = 'e', for_a_look = 'l';

volatile std::sig_atomic_t pipe_to_wake = -1;  // the one thing that a signal handler can use

void tell(int pipe, char what) {
  const int reason = errno;
  while (::write(pipe, &what, 1) < 0 && errno == EINTR) continue;  // a full pipe wakes as well
  errno = reason;
}

void on_each(void (*handler)(int)) {
  for (const int signal : end_signals) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    struct sigaction now {};
    const bool is_ignored = ::sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;  // as under nohup
    if (!is_ignored) ::sigaction(signal, &action, nullptr);
  }
}

}  // namespace

EndSignals::EndSignals() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw CommandError("can't make a pipe");
  woken_ = Descriptor(ends[0]);
  waking_ = Descriptor(ends[1]);
  for (const int end : ends) {
    ::fcntl(end, F_SETFL, O_NONBLOCK);
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
  pipe_to_wake = waking_.get();
  on_each([](int) { tell(pipe_to_wake, for_the_end); });
}

EndSignals::~EndSignals() { on_each(SIG_IGN); }

void EndSignals::leave_to_others() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : end_signals) ::sigaddset(&signals, signal);
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void EndSignals::ask_for_end() const { tell(waking_.get(), for_the_end); }
void EndSignals::wake() const { tell(waking_.get(), for_a_look); }

bool EndSignals::wait(std::optional<std::chrono::milliseconds> longest) const {
  pollfd pipe{woken_.get(), POLLIN, 0};
  ::poll(&pipe, 1, longest ? static_cast<int>(longest->count()) : -1);
  std::array<char, 64> told{};
  const ssize_t length = ::read(woken_.get(), told.data(), told.size());
  const auto last = told.begin() + std::max<ssize_t>(length, 0);
  return std::find(told.begin(), last, for_the_end) != last;
}

}  // namespace host
