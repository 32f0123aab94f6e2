#include "host/cli/interrupt.h"

#include <signal.h>

#include <atomic>
#include <csignal>

namespace host {
namespace {

volatile std::sig_atomic_t signalled = 0;
std::atomic<_FS_HANDLE*> guarded_handle{nullptr};

extern "C" void raise_state(int /*signal*/) {
  signalled = 1;
  stop(*guarded_handle.load());
}

void handle_signals(void (*action)(int)) {
  struct sigaction change {};
  change.sa_handler = action;
  change.sa_flags = static_cast<int>(SA_RESETHAND);  // without SA_RESTART: what waits for input gives up
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction now {};
    if (::sigaction(signal, nullptr, &now) == 0 && now.sa_handler != SIG_IGN) ::sigaction(signal, &change, nullptr);
  }
}

}  // namespace

InterruptGuard::InterruptGuard() {
  guarded_handle = handle_.get();
  handle_signals(raise_state);
}

InterruptGuard::~InterruptGuard() { handle_signals(SIG_DFL); }

const Handle& InterruptGuard::begin_transfer() const {
  const Handle next = new_handle();
  guarded_handle = next.get();
  handle_ = next;
  if (signalled != 0) stop(*handle_);
  return handle_;
}

bool InterruptGuard::interrupted() const { return signalled != 0; }

void InterruptGuard::throw_if_interrupted() const {
  if (interrupted()) throw Interrupted{};
}

}  // namespace host
