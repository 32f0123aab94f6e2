#include "host/client/report.h"

#include <cstdio>
#include <string>

namespace host {

void print_error(std::string_view text) {
  const std::string line = std::string("localdisk-host: ").append(text).append("\n");
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace host
