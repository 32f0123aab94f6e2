// Host paths as the commands use them.
#pragma once

#include <string>

namespace host {

// What the user typed as the module takes it: absolute, without ".", ".." and a separator at the end. CommandError
// where it is empty.
std::string absolute_path(const std::string& typed);

// The directory and the name of a host path; the root is its own directory.
std::string parent_of(const std::string& path);
std::string name_of(const std::string& path);

// One separator between directory and name.
std::string below(const std::string& directory, const std::string& name);

}  // namespace host
