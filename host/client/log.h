// The module's log as lines of text.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "localdisk/host_interfaces.h"

namespace host {

// Calls `print` with each line, from whatever thread the module writes it on; it must not throw.
class LineLog final : public ILog {
 public:
  using Print = std::function<void(int level, const std::string& line)>;
  explicit LineLog(Print print) : print_(std::move(print)) {}

 private:
  void Reserved1() override {}
  void Reserved2() override {}
  [[gnu::format(printf, 3, 0)]] void LogV(LOGLEVEL level, const char* format, va_list arguments) override;

  Print print_;
};

}  // namespace host
