#include <fmt/format.h>

#include <array>
#include <cstdio>

#include "host/cli/arguments.h"
#include "host/cli/console.h"
#include "host/client/report.h"

namespace {

struct ConsoleLog final : ILog {
  void Reserved1() override {}
  void Reserved2() override {}
  [[gnu::format(printf, 3, 0)]] void LogV(LOGLEVEL level, const char* format, va_list arguments) override {
    std::array<char, 1024> line{};
    std::vsnprintf(line.data(), line.size(), format, arguments);
    fmt::print(stderr, "log {}: {}\n", static_cast<int>(level), host::escaped(line.data()));
  }
};

int run(const host::Request& request, const host::InterruptGuard& interrupt) {
  if (!request.text.empty()) {
    fmt::print("{}", request.text);
    return host::exit_done;
  }
  ConsoleLog log;
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
