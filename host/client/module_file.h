// Looks at a module before anything of it runs.
#pragma once

#include <filesystem>
#include <string>

namespace host {

// What is wrong with a file that can't be loaded without harm, such as one that was cut off; empty where nothing is.
std::string find_damage(const std::filesystem::path& file);

// Says for which C++ standard library the loaded `library` was built where that isn't this host's: then no text may
// cross the boundary. Empty where it is the same, or where nothing tells.
std::string find_foreign_library(void* library);

}  // namespace host
