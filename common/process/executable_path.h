// The one question about the running program that each system answers in its own way.
#pragma once

#include <string>

// The full path of the running program's executable; empty when the system doesn't tell it or it is longer
// than 1024 bytes.
std::string executable_path();

// The text of the symbolic link `link`; empty when it can't be read or is longer than 1024 bytes.
std::string link_text(const char* link);
