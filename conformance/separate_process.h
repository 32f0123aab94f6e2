// Runs a function in a process of its own, which reports in lines of text.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct ProcessResult {
  int exit_code = 0;               // -1 when it was ended from outside, and a line says how
  std::vector<std::string> lines;  // what it reported
};

// Ends the process when the time is up. The process ends with what `body` answers.
ProcessResult run_apart(const std::function<int()>& body, int seconds);

// Inside such a process, from any thread: one line, in which control characters are blanks.
void report_line(std::string_view line);

// From here on an interrupt ends the process that runs, and run_apart answers what it then has.
void end_on_interrupt();
bool was_interrupted();
