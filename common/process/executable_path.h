// Where the running program lies, which each system tells in its own way.
#pragma once

#include <string>

namespace localdisk {

// The full path of the running program's executable; empty when the system doesn't tell it or it is longer than
// 1024 bytes.
std::string executable_path();

// The text of the symbolic link `link`; empty when it can't be read or is longer than 1024 bytes.
std::string link_text(const char* link);

// What stands before the last "/" of `path`; empty when there is none.
std::string directory_of(std::string path);

}  // namespace localdisk
