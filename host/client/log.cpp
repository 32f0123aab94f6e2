#include "host/client/log.h"

#include <array>
#include <cstdio>

namespace host {

void LineLog::LogV(LOGLEVEL level, const char* format, va_list arguments) {
  std::array<char, 1024> line{};
  std::vsnprintf(line.data(), line.size(), format, arguments);
  print_(static_cast<int>(level), line.data());
}

}  // namespace host
