// Where this program lies.
#pragma once

#include <filesystem>

namespace host {

// The path of the running program's file; empty where the system doesn't tell.
std::filesystem::path executable();

}  // namespace host
