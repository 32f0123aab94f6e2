#include "host/cli/interrupt.h"

#include <signal.h>

namespace host {
namespace {

_FS_HANDLE* guarded_handle = nullptr;  // written only while the signals have their default action

extern "C" void raise_state(int /*signal*/) { stop(*guarded_handle); }

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

bool InterruptGuard::interrupted() const {
  return __atomic_load_n(&handle_->state, __ATOMIC_ACQUIRE) >= FS_STATE_STOP;
}

void InterruptGuard::throw_if_interrupted() const {
  if (interrupted()) throw Interrupted{};
}

}  // namespace host
