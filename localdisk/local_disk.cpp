#include "localdisk/local_disk.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "localdisk/catch_all.h"
#include "localdisk/paths.h"

namespace {

// Without regard to the case of ASCII letters, whatever the locale makes of them.
bool is_option(std::string_view key, std::string_view name) {
  constexpr auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::ranges::equal(key, name, {}, lower);
}

}  // namespace

LocalDisk::LocalDisk(IProtocolManager* host_manager) : manager(host_manager), root_path("/"), divider('/') {
  if (manager == nullptr) return;
  std::array<char, 256> text{};
  int length = static_cast<int>(text.size());
  manager->GetPid(module_id, text.data(), &length);
  pid.assign(text.data(), ::strnlen(text.data(), text.size()));
}

LocalDisk::~LocalDisk() = default;

void LocalDisk::Release() { delete this; }

int LocalDisk::SetOpt(const char* key, const char* value) {
  if (key == nullptr || value == nullptr) return FS_ERR_INVALID_ARG;
  return localdisk::catch_all(FS_ERR_OPERATION_FAILED, [&] {
    if (is_option(key, "pid")) pid = value;
    if (is_option(key, "root_path")) root_path = value;
    return FS_OK;
  });
}

void LocalDisk::FreeMsg(char* message) { std::free(message); }

std::string LocalDisk::GetPath(const char* path) const { return localdisk::local_path(path); }

std::string LocalDisk::JoinPath(const std::string& directory, const std::string& name) const {
  return localdisk::join(directory, name);
}
