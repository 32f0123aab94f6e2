// Runs checks of a module, each in a process of its own that loads the module anew: a crash or a hang is that
// check's failure and nobody else's.
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>

namespace harness {

struct Check {
  std::string_view name;     // "group.subject"
  std::string_view promise;  // one sentence: what holds when the check passes
  void (*body)();
};

// For namespace scope: adds a check to those that run.
int add(const Check& check);

// Inside a check. A failure is noted and the check goes on, unless there is nothing to go on with; a skip ends it.
void fail(const char* file, int line, std::string reason);
[[noreturn]] void give_up(const char* file, int line, std::string reason);
[[noreturn]] void skip(std::string reason);

// The symbol of that name in the module under test, or null.
void* symbol(const char* name);

struct Options {
  std::string module;
  std::string filter;        // only checks whose name contains this
  bool json = false;         // an object a line instead of text
  int seconds_a_check = 60;  // then the check has failed
};

// Runs the checks and prints a line for each and the verdict; answers the exit code: 0 when the contract is kept, 1
// when it is not or no check has such a name, 2 when all of them were skipped.
int run(const Options& options);

template <class A, class B>
void expect_equal(const char* file, int line, std::string_view what, const A& actual, const B& expected) {
  if (!(actual == expected)) fail(file, line, fmt::format("{} is '{}', not '{}'", what, actual, expected));
}

}  // namespace harness

#define BOUNDARY_CHECK(identifier, name, promise)                                                           \
  static void check_##identifier();                                                                         \
  [[maybe_unused]] static const int identifier##_added = harness::add({name, promise, check_##identifier}); \
  static void check_##identifier()

#define EXPECT(condition) \
  if (!(condition)) harness::fail(__FILE__, __LINE__, "not so: " #condition)
#define EXPECT_EQ(actual, expected) harness::expect_equal(__FILE__, __LINE__, #actual, actual, expected)
