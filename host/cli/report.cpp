#include "host/cli/report.h"

#include <fmt/format.h>

#include "host/client/report.h"

namespace host {

void Report::add_failure(const std::exception& error) {
  interrupt_.throw_if_interrupted();
  ++failed_;
  progress_.wipe();
  print_error(error.what());
}

void Report::note(std::string_view text) {
  if (quiet_) return;
  progress_.wipe();
  print_error(text);
}

void Report::print_result(std::string_view line) {
  progress_.wipe();
  if (!quiet_) fmt::print("{}\n", line);
}

int Report::finish() {
  progress_.wipe();
  if (failed_ == 0) return exit_done;
  if (entries_ > 1) print_error(fmt::format("{} of {} entries failed", failed_, entries_));
  return exit_failed;
}

}  // namespace host
