#include "host/mount/messages.h"

#include <syslog.h>

#include <atomic>

#include "host/client/report.h"

namespace host {
namespace {

std::atomic<bool> to_syslog = false;

}  // namespace

void tell_syslog() { to_syslog = true; }

void tell(const std::string& line) { to_syslog ? ::syslog(LOG_WARNING, "%s", line.c_str()) : print_error(line); }

}  // namespace host
