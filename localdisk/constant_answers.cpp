// What a folder of this machine answers whatever its state: what it is, and what it doesn't offer.
#include "localdisk/local_disk.h"

int LocalDisk::GetAuthType() { return 0; }
int LocalDisk::GetAuthFields(char* /*buffer*/, int* /*length*/) { return FS_ERR_NOT_SUPPORTED; }

int LocalDisk::GetType(char** name) {
  if (name == nullptr) return FS_ERR_INVALID_ARG;
  *name = const_cast<char*>(type_name);
  return FS_OK;
}

int LocalDisk::GetFeature() {
  constexpr int feature_mask = 1 << 6;
  return feature_mask;
}

int LocalDisk::SetQuota(unsigned long long /*total*/, unsigned long long /*used*/) { return FS_ERR_NOT_SUPPORTED; }
int LocalDisk::GetChanges(IFileChanges* /*changes*/, char** /*message*/) { return FS_ERR_NOT_SUPPORTED; }
int LocalDisk::GetShareableLink(_FS_FILE_V2* /*file*/, std::string& /*link*/) { return FS_ERR_NOT_SUPPORTED; }
int LocalDisk::Connect(IProtocolAuth* /*auth*/, const char* /*text*/) { return FS_OK; }
int LocalDisk::GetIdentifier(char* /*buffer*/, int* /*length*/) { return FS_OK; }
int LocalDisk::SetLocalConfiguration(ILocalConfiguration* /*configuration*/) { return 0; }
int LocalDisk::SetChangesCallback(IFileChanges* /*changes*/) { return 0; }
