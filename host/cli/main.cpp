#include <fmt/format.h>

#include <cstdio>

#include "host/cli/arguments.h"
#include "host/cli/console.h"
#include "host/client/log.h"
#include "host/client/report.h"

namespace {

void print_log_line(int level, const std::string& line) {
  std::fprintf(stderr, "log %d: %s\n", level, host::escaped(line).c_str());
}

int run(const host::Request& request, const host::InterruptGuard& interrupt) {
  if (!request.text.empty()) {
    fmt::print("{}", request.text);
    return host::exit_done;
  }
  host::LineLog log(print_log_line);
  host::Module module(request.module);
  if (request.verbose) module.bind_logger(&log);
  host::Drive drive(module);
  host::Report report(interrupt, request.quiet);
  return request.command({module, drive, report});
}

// What the command's last words become, too: a full disk may show only here.
int run_to_the_end(const host::Request& request, const host::InterruptGuard& interrupt) {
  const int code = run(request, interrupt);
  host::flush_output();
  interrupt.throw_if_interrupted();
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  const host::InterruptGuard interrupt;
  try {
    return run_to_the_end(host::parse_arguments(argc, argv), interrupt);
  } catch (const host::Interrupted&) {
    host::print_error("cancelled");
    return host::exit_cancelled;
  } catch (const std::exception& error) {
    if (interrupt.interrupted()) {
      host::print_error("cancelled");
      return host::exit_cancelled;
    }
    host::print_error(error.what());
    const bool usage = dynamic_cast<const host::ModuleError*>(&error) != nullptr ||
                       dynamic_cast<const host::UsageError*>(&error) != nullptr;
    return usage ? host::exit_usage : host::exit_failed;
  }
}
