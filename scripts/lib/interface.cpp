// The types by which host and module meet, used in such a way that the compiler lays all of them out: the records by
// their size, the tables by a call through them.
#include "localdisk/local_disk.h"

unsigned long lay_out(LocalDisk& object, IProtocolManager& manager, IFileList& list, ILog& log,
                      IFetchCallback& callback, ICacheIO& cache) {
  object.Release();
  object.IProtocol_V1::GetFeature();
  object.IProtocol_V2::GetIdentifier(nullptr, nullptr);
  manager.GetPid(nullptr, nullptr, nullptr);
  list.AddFile(nullptr);
  log.Reserved1();
  callback.OnData(0, nullptr, 0, nullptr);
  cache.ReadBlock(nullptr);
  return sizeof(_FS_FILE_V2) + sizeof(_FS_HANDLE) + sizeof(_FS_CACHE_REQUEST);
}
