// What the drive says to its user while it serves.
#pragma once

#include <string>

namespace host {

// From here on nobody reads standard error: messages go to syslog.
void tell_syslog();
void tell(const std::string& line);

}  // namespace host
