#include "plugin/entry_points.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "localdisk/catch_all.h"
#include "localdisk/local_disk.h"

bool GetProtocol(IProtocolManager* manager, void** object) {
  if (manager == nullptr || object == nullptr) return false;
  return localdisk::catch_all(false, [&] {  // out of memory, or out of the host's own GetPid
    IRefObject* const disk = std::make_unique<LocalDisk>(manager).release();  // comes back through Release
    *object = disk;
    return true;
  });
}

void GetSupportProtocol(char** name) {
  if (name != nullptr) *name = ::strdup(LocalDisk::type_name);
}

void FreeP(void* p) { std::free(p); }

int GetAuthType() { return LocalDisk::GetAuthType(); }
int GetAuthFields(char* buffer, int* length) { return LocalDisk::GetAuthFields(buffer, length); }
int GetOptFields(char* buffer, int* length) { return LocalDisk::GetAuthFields(buffer, length); }
