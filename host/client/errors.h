// What fails, as exceptions with a text for people.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace host {

// "FS_ERR_NOT_FOUND (19)".
std::string status_name(int status);

// The module can't be used: no such file, a missing symbol, an answer that makes no sense.
struct ModuleError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// An operation that the module refused. The text says what failed and on which path, with the status and the reason
// that the system gave.
class OperationError : public std::runtime_error {
 public:
  OperationError(std::string_view operation, std::string_view path, int status, int reason);
  [[nodiscard]] int status() const { return status_; }
  [[nodiscard]] int reason() const { return reason_; }  // of errno; 0 where the system had none
  [[nodiscard]] bool cancelled() const;

 private:
  int status_;
  int reason_;
};

// Errors that a command itself detects.
struct CommandError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A command that was called in a way it can't be.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace host
