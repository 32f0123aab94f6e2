#include "common/process/user_name.h"

#include <unistd.h>

#include "common/process/login_name.h"

std::string GetUserName() { return localdisk::login_name(::getuid()); }
