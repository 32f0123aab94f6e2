// What the command line says.
#pragma once

#include <functional>
#include <string>

#include "host/cli/commands.h"

namespace host {

using Command = std::function<int(const Session&)>;

// What the user asks for: a text to print, or a command to run.
struct Request {
  std::string text;
  Command command;
  std::string module;
  bool verbose = false, quiet = false;
};

// UsageError says in one line what is wrong with the arguments. The request's command refers to what the parser has
// read, which lives as long as the process.
Request parse_arguments(int argc, char** argv);

}  // namespace host
