// The program localdisk-mount, which the command mount of localdisk-host becomes.
#include <cstdio>
#include <cstdlib>

#include "host/client/drive.h"
#include "host/client/errors.h"
#include "host/client/log.h"
#include "host/client/report.h"
#include "host/mount/mounted_drive.h"
#include "host/mount/options.h"

namespace {

void print_log_line(int level, const std::string& line) { std::fprintf(stderr, "log %d: %s\n", level, line.c_str()); }

int run(const host::MountOptions& options) {
  host::LineLog log(print_log_line);
  host::Module module(options.module);
  if (options.verbose) module.bind_logger(&log);
  host::Drive drive(module);
  return host::run_drive(drive, options, module.protocol());
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments == std::vector<std::string>{host::start_check}) return host::exit_done;
  const std::optional<host::MountOptions> options = host::options_of(arguments);
  if (!options) {
    host::print_error("localdisk-mount is started by localdisk-host mount");
    return host::exit_usage;
  }
  // Times travel as texts of the process's zone: in this one each names one instant, and costs no look at the zone.
  ::setenv("TZ", "UTC0", 1);
  try {
    return run(*options);
  } catch (const host::ModuleError& error) {
    host::print_error(error.what());
    return host::exit_usage;
  } catch (const std::exception& error) {
    host::print_error(error.what());
    return host::exit_failed;
  }
}
