// How a program of the host tells its user what went wrong.
#pragma once

#include <string>
#include <string_view>

namespace host {

// The exit codes of the host's programs.
inline constexpr int exit_done = 0, exit_failed = 1, exit_usage = 2, exit_cancelled = 130;

// The text as one line that does nothing to a terminal: control characters and bytes that are no UTF-8 become "\x1b".
std::string escaped(std::string_view text);

// One line on standard error, after the program's name; the text is escaped.
void print_error(std::string_view text);

}  // namespace host
