#include "host/mount/request_loop.h"

#include <pthread.h>
#include <sched.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <utility>

#include "host/mount/fuse_requests.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t most_workers = 64;
constexpr auto moment = std::chrono::milliseconds(4);
constexpr auto time_to_wake = std::chrono::microseconds(4);  // a request that took less to get was there already
constexpr int reader_signal = SIGUSR1;                       // gets a thread out of its wait

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  ::sigaction(signal, &action, nullptr);
}

// On one, a second reader of the requests only means one more thread to wake.
bool may_use_several_processors() {
#if defined(__linux__)
  cpu_set_t allowed;
  if (::sched_getaffinity(0, sizeof allowed, &allowed) == 0) return CPU_COUNT(&allowed) > 1;
#endif
  return std::thread::hardware_concurrency() != 1;
}

struct Buffer : fuse_buf {
  Buffer() : fuse_buf{} {}
  ~Buffer() { std::free(mem); }  // libfuse's
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
};

}  // namespace

bool RequestLoop::run() {
  handle(reader_signal, [](int) {});
  handle(SIGPIPE, SIG_IGN);
  add_reader();
  watch();
  end_all();
  return !has_failed_;
}

// Looks once in a moment while there is something to do.
void RequestLoop::watch() {
  unsigned long requests = 0, timed = 0, unwaited = 0;
  bool is_idle = false;
  while (!signals_.wait(is_idle ? std::nullopt : std::optional(moment))) {
    const unsigned long came = requests_ - std::exchange(requests, requests_);
    const unsigned long looked_at = timed_ - std::exchange(timed, timed_);
    const unsigned long flooding = unwaited_ - std::exchange(unwaited, unwaited_);
    constexpr unsigned long enough_to_tell = 4;
    is_flooded_ = looked_at >= enough_to_tell && flooding > looked_at * 3 / 4 && may_use_several_processors();
    const bool all_are_busy = readers_ == 0 && came == 0;
    if (all_are_busy || is_flooded_) add_reader();
    is_idle = came == 0 && readers_ > 0;
    watch_sleeps_ = is_idle;
    if (is_idle && requests_ != requests) is_idle = watch_sleeps_ = false;
  }
}

void RequestLoop::add_reader() {
  const std::lock_guard guard(lock_);
  if (resting_ > woken_) {
    ++woken_;
    wanted_.notify_one();
  } else if (workers_.size() < most_workers) {
    Worker& worker = *workers_.emplace_back(std::make_unique<Worker>());
    worker.thread = std::thread([this, &worker] { serve(worker); });
  }
}

bool RequestLoop::is_one_too_many() const { return readers_ > 0 && !is_flooded_; }

void RequestLoop::rest() {
  std::unique_lock guard(lock_);
  ++resting_;
  wanted_.wait(guard, [&] { return woken_ > 0 || is_ending_; });
  --resting_;
  if (woken_ > 0) --woken_;
}

void RequestLoop::serve(Worker& self) {
  EndSignals::leave_to_others();
  Buffer request;
  while (!is_ending_ && answer_next(self, request)) {
    if (is_one_too_many()) rest();
  }
  self.has_ended = true;
}

// Answers false at the end of the session.
bool RequestLoop::answer_next(Worker& self, fuse_buf& request) {
  constexpr unsigned long one_in = 8;  // asking for the time twice takes a good part of what some answers take
  const bool is_timed = requests_ % one_in == 0;
  const Clock::time_point from = is_timed ? Clock::now() : Clock::time_point();
  self.is_reading = true;
  ++readers_;
  const int length = is_ending_ ? 0 : ::fuse_session_receive_buf(session_, &request);
  --readers_;
  self.is_reading = false;
  if (length == -EINTR || length == -EAGAIN) return true;
  if (length <= 0) {
    if (length < 0) has_failed_ = true;
    signals_.ask_for_end();
    return false;
  }
  ++requests_;
  if (is_timed) {
    ++timed_;
    if (Clock::now() - from < time_to_wake) ++unwaited_;
  }
  if (watch_sleeps_.exchange(false)) signals_.wake();
  ::fuse_session_process_buf(session_, &request);
  return true;
}

void RequestLoop::end_all() {
  {
    const std::lock_guard guard(lock_);
    is_ending_ = true;
    wanted_.notify_all();
  }
  for (const std::unique_ptr<Worker>& worker : workers_) {
    // The signal is for a wait, and is lost where the wait has not begun yet.
    while (!worker->has_ended) {
      if (worker->is_reading) ::pthread_kill(worker->thread.native_handle(), reader_signal);
      std::this_thread::sleep_for(moment);
    }
    worker->thread.join();
  }
}

}  // namespace host
