// The threads that answer the kernel's requests.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "host/mount/end_signals.h"

struct fuse_buf;
struct fuse_session;

namespace host {

// One thread reads and answers for as long as requests come one after the other: waking another one for each would
// take longer than most answers do. Another joins when all are busy for a moment, so that what is only looked up
// never waits for a transfer, and while requests come faster than they are answered.
class RequestLoop {
 public:
  RequestLoop(fuse_session* session, const EndSignals& signals) : session_(session), signals_(signals) {}
  RequestLoop(const RequestLoop&) = delete;
  RequestLoop& operator=(const RequestLoop&) = delete;

  // Answers until the drive is unmounted or a signal asks for the end, and then what was begun. Answers false for an
  // end that nobody asked for.
  [[nodiscard]] bool run();

 private:
  struct Worker {
    std::thread thread;
    std::atomic<bool> is_reading = false, has_ended = false;
  };
  void watch();
  void add_reader();
  void serve(Worker& self);
  bool answer_next(Worker& self, fuse_buf& request);
  [[nodiscard]] bool is_one_too_many() const;
  void rest();
  void end_all();

  fuse_session* session_;
  const EndSignals& signals_;
  std::atomic<bool> is_ending_ = false, has_failed_ = false;
  std::atomic<bool> watch_sleeps_ = false;  // until a request comes
  std::atomic<int> readers_ = 0;            // of the workers, those that wait for a request
  std::atomic<unsigned long> requests_ = 0;
  std::atomic<unsigned long> timed_ = 0, unwaited_ = 0;  // some of them, and those of these that were there already
  std::atomic<bool> is_flooded_ = false;

  std::mutex lock_;
  std::condition_variable wanted_;
  std::vector<std::unique_ptr<Worker>> workers_;
  unsigned resting_ = 0, woken_ = 0;
};

}  // namespace host
