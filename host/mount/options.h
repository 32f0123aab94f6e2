// How the command mount and the program localdisk-mount tell each other what to mount.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/mount/mount.h"

namespace host {

// Asks the program for nothing but its start: whether it is there and finds its libraries.
inline constexpr const char* start_check = "--check-start";

std::vector<std::string> arguments_of(const MountOptions& options);

// Nothing where the arguments are not what arguments_of makes.
std::optional<MountOptions> options_of(const std::vector<std::string>& arguments);

}  // namespace host
