// Running a command of the system shell.
#pragma once

#include <string>

#include "common/export.h"

// Runs `command`, waits for its end and returns what it wrote to its standard output. The text goes to the
// system shell exactly as it is, nothing is quoted or escaped: never put a name into it that someone else may
// choose. The output is read by lines, long ones in parts of 127 bytes; what follows a NUL byte within a line
// or part is left out. How the command ends is not told: one that the shell can't find gives the empty text.
// The command gets the host's standard input and error streams, but no descriptor that the module opened.
//
// Throws std::runtime_error("popen() failed!") when the command can't be started.
LOCALDISK_EXPORT std::string pexec(std::string command);
