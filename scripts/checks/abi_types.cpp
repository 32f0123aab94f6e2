// The types by which host and module meet. No exported function names them all: the tables and records travel behind
// plain pointers. Here one function does, so that the description of the binary interface holds them.
#include "localdisk/local_disk.h"
#include "plugin/entry_points.h"
#include "plugin/logger.h"

LOCALDISK_EXPORT void where_host_and_module_meet(LocalDisk& object, IProtocolManager& manager, IFileList& list,
                                                 ILog& log, IFetchCallback& callback, ICacheIO& cache,
                                                 _FS_FILE_V2& file, _FS_HANDLE& handle, _FS_CACHE_REQUEST& request,
                                                 FS_STATUS status, LOGLEVEL level, UPLOAD_FLAG flag);

void where_host_and_module_meet(LocalDisk&, IProtocolManager&, IFileList&, ILog&, IFetchCallback&, ICacheIO&,
                                _FS_FILE_V2&, _FS_HANDLE&, _FS_CACHE_REQUEST&, FS_STATUS, LOGLEVEL, UPLOAD_FLAG) {}
