#include "localdisk/local_disk.h"

#include <strings.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "localdisk/catch_all.h"
#include "localdisk/metadata.h"
#include "localdisk/normalize_path.h"

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
    if (::strcasecmp(key, "pid") == 0) pid = value;
    if (::strcasecmp(key, "root_path") == 0) root_path = value;
    return FS_OK;
  });
}

void LocalDisk::FreeMsg(char* message) { std::free(message); }

std::string LocalDisk::GetPath(const char* path) const {
  std::string local = localdisk::normalized(path);
  if (!local.empty() && local.back() == divider) local += '.';
  return local;
}

std::string LocalDisk::JoinPath(const std::string& directory, const std::string& name) const {
  std::string joined;
  joined.reserve(directory.size() + 1 + name.size());
  joined = directory;
  localdisk::append_name(joined, name);
  return joined;
}
