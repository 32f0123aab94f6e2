#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "common/process/user_name.h"
#include "localdisk/catch_all.h"
#include "localdisk/local_disk.h"
#include "localdisk/volume.h"

namespace {

// What a name is cut to, and the machine's name is asked for with one byte more.
constexpr std::size_t longest_name = 1023;

// Stores the value's length and, when the buffer has room for it, the value without a terminator.
FS_STATUS copy_out(const std::string& value, char* buffer, int* length) {
  if (length == nullptr) return FS_ERR_INVALID_ARG;
  const int capacity = *length;
  *length = static_cast<int>(value.size());
  if (buffer == nullptr || capacity < *length) return FS_ERR_BUFFER_TOO_SMALL;
  std::memcpy(buffer, value.data(), value.size());
  return FS_OK;
}

std::string user_name() {
  const char* const name = std::getenv("USER");
  return name != nullptr ? std::string(name, ::strnlen(name, longest_name)) : GetUserName().substr(0, longest_name);
}

std::string user_information() {
  std::array<char, longest_name + 1> host{};
  if (::gethostname(host.data(), host.size()) != 0) return user_name();
  return std::string(host.data(), ::strnlen(host.data(), host.size())) + "/" + user_name();
}

}  // namespace

int LocalDisk::GetUserInfo(char* buffer, int* length) {
  if (length == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] { return copy_out(user_information(), buffer, length); });
}

int LocalDisk::GetRootID(char* buffer, int* length) { return copy_out(root_path, buffer, length); }

int LocalDisk::GetQuota(unsigned long long* total, unsigned long long* used) {
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    if (root_path == "/") return FS_OK;
    const auto volume = localdisk::volume_use(root_path);
    if (!volume) return FS_ERR_OPERATION_FAILED;
    if (total != nullptr) *total = volume->total;
    if (used != nullptr) *used = volume->used;
    return FS_OK;
  });
}

int LocalDisk::GetCredential(char* buffer, int* length) {
  if (length == nullptr) return FS_ERR_INVALID_ARG;
  if (buffer == nullptr || *length < 0) {
    *length = 0;
    return FS_ERR_BUFFER_TOO_SMALL;
  }
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    if (manager == nullptr) return FS_ERR_OPERATION_FAILED;
    constexpr int flag = 1;
    manager->SetValue(pid.c_str(), "pid", pid.c_str(), flag);
    *length = 0;
    return FS_OK;
  });
}
