#include "localdisk/protocol.h"

// Here rather than in the header: a constructor in a source of its own is what brings the class's table, and with it
// its type information, into the module.
IRefObject::IRefObject() = default;
IProtocol_V1::IProtocol_V1() = default;
IProtocol_V2::IProtocol_V2() = default;
