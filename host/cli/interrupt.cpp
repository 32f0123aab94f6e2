#include "host/cli/interrupt.h"

#include <signal.h>

namespace host {
namespace {

_FS_HANDLE* guarded_handle = nullptr;  // written only while both signals have their default action

extern "C" void raise_state(int /*signal*/) { stop(*guarded_handle); }

void handle_signals(void (*action)(int)) {
  struct sigaction change {};
  change.sa_handler = action;
  for (const int signal : {SIGINT, SIGTERM}) ::sigaction(signal, &change, nullptr);
}

}  // namespace

InterruptGuard::InterruptGuard() {
  guarded_handle = handle_.get();
  handle_signals(raise_state);
}

InterruptGuard::~InterruptGuard() { handle_signals(SIG_DFL); }

void InterruptGuard::throw_if_interrupted() const {
  if (__atomic_load_n(&handle_->state, __ATOMIC_ACQUIRE) >= FS_STATE_STOP) throw Interrupted{};
}

}  // namespace host
