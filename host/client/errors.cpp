#include "host/client/errors.h"

#include <system_error>

#include "localdisk/status.h"

namespace host {
namespace {

const char* name_of_status(int status) {
  switch (status) {
    case FS_OK:
      return "FS_OK";
    case FS_ERR_FAILED:
      return "FS_ERR_FAILED";
    case FS_ERR_BUFFER_TOO_SMALL:
      return "FS_ERR_BUFFER_TOO_SMALL";
    case FS_ERR_INVALID_ARG:
      return "FS_ERR_INVALID_ARG";
    case FS_ERR_NOT_SUPPORTED:
      return "FS_ERR_NOT_SUPPORTED";
    case FS_ERR_READ:
      return "FS_ERR_READ";
    case FS_ERR_SEEK:
      return "FS_ERR_SEEK";
    case FS_ERR_READ_CANCELLED:
      return "FS_ERR_READ_CANCELLED";
    case FS_ERR_UPLOAD_CANCELLED:
      return "FS_ERR_UPLOAD_CANCELLED";
    case FS_ERR_NOT_FOUND:
      return "FS_ERR_NOT_FOUND";
    case FS_ERR_OPERATION_FAILED:
      return "FS_ERR_OPERATION_FAILED";
    default:
      return "unknown status";
  }
}

std::string text_of(std::string_view operation, std::string_view path, int status, int reason) {
  std::string text = "can't ";
  text.append(operation).append(" ").append(path).append(": ").append(status_name(status));
  if (reason != 0) text.append(", ").append(std::generic_category().message(reason));
  return text;
}

}  // namespace

std::string status_name(int status) {
  return std::string(name_of_status(status)) + " (" + std::to_string(status) + ")";
}

OperationError::OperationError(std::string_view operation, std::string_view path, int status, int reason)
    : std::runtime_error(text_of(operation, path, status, reason)), status_(status), reason_(reason) {}

bool OperationError::cancelled() const {
  return status_ == FS_ERR_READ_CANCELLED || status_ == FS_ERR_UPLOAD_CANCELLED;
}

}  // namespace host
