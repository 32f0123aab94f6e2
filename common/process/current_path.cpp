#include "common/process/current_path.h"

#include "common/process/executable_path.h"

std::string GetCurrentPath() { return localdisk::directory_of(localdisk::executable_path()); }
