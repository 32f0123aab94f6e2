// The functions by which a host that has just loaded the module gets hold of it. They have plain names, may be called
// from any thread, and let no exception out.
#pragma once

#include "common/export.h"
#include "localdisk/host_interfaces.h"

extern "C" {

// Makes a protocol object and stores its address, which is that of an IProtocol_V2 (localdisk/protocol.h). The caller
// owns it and ends it with Release. `manager` is kept by the object and must outlive it. False, with `*object` as it
// was, when an argument is null, memory is short or the manager's GetPid throws.
LOCALDISK_EXPORT bool GetProtocol(IProtocolManager* manager, void** object);

// Stores a copy of the protocol's name that the caller gives back through FreeP; null when memory is short. A null
// `name` gets nothing.
LOCALDISK_EXPORT void GetSupportProtocol(char** name);

// Releases what the module allocated for the host; null is fine.
LOCALDISK_EXPORT void FreeP(void* p);

// The kind of authentication that the protocol asks for: 0, none.
LOCALDISK_EXPORT int GetAuthType();

// There are no fields to fill in: both answer FS_ERR_NOT_SUPPORTED and touch nothing.
LOCALDISK_EXPORT int GetAuthFields(char* buffer, int* length);
LOCALDISK_EXPORT int GetOptFields(char* buffer, int* length);

}  // extern "C"
