// What a command tells while it works on many entries: it goes on after one that fails, a line tells each failure,
// and the end counts them.
#pragma once

#include <string_view>

#include "host/cli/console.h"
#include "host/cli/interrupt.h"

namespace host {

class Report {
 public:
  Report(const InterruptGuard& interrupt, bool quiet) : interrupt_(interrupt), quiet_(quiet), progress_(quiet) {}

  // Works on one entry. What `body` throws is told and counted, and the answer is false; after a signal Interrupted
  // comes out instead.
  template <class Body>
  bool attempt(Body&& body) {
    ++entries_;
    return attempt_more(body);
  }
  // Work that counts its entries itself, so that this one counts only where it fails before that.
  template <class Body>
  bool attempt_whole(Body&& body) {
    const bool good = attempt_more(body);
    entries_ += good ? 0 : 1;
    return good;
  }
  // The same for one more step of an entry that is counted already.
  template <class Body>
  bool attempt_more(Body&& body) {
    interrupt_.throw_if_interrupted();
    try {
      body();
      return true;
    } catch (const std::exception& error) {
      add_failure(error);
      return false;
    }
  }

  // Something that a user may want to know; not with --quiet.
  void note(std::string_view text);
  // A line of a command's result on standard output; not with --quiet.
  void print_result(std::string_view line);

  [[nodiscard]] long long failed() const { return failed_; }
  [[nodiscard]] const InterruptGuard& interrupt() const { return interrupt_; }
  [[nodiscard]] Progress& progress() { return progress_; }

  // The exit code, after "3 of 120 entries failed" where there was more than one entry.
  [[nodiscard]] int finish();

 private:
  void add_failure(const std::exception& error);

  const InterruptGuard& interrupt_;
  bool quiet_;
  Progress progress_;
  long long entries_ = 0, failed_ = 0;
};

}  // namespace host
