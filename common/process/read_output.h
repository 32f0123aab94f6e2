// Reading what a command writes.
#pragma once

#include <cstdio>
#include <string>

namespace localdisk {

// The rest of `stream`, its lines and parts cut as pexec (command.h) cuts them. A stream that fails ends there:
// what came before is returned.
std::string read_output(std::FILE& stream);

}  // namespace localdisk
