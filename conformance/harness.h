// Runs checks of a module, each in a process of its own that loads the module anew: a crash or a hang is that
// check's failure and nobody else's.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace harness {

enum class Group {
  contract,   // what every module does; through its operations alone
  disk,       // what a module does that serves this machine's files
  localdisk,  // the identity, the names and the utilities of the module that says it is localdisk
};
inline constexpr Group groups[] = {Group::contract, Group::disk, Group::localdisk};
std::string_view group_name(Group group);

struct Check {
  Group group;
  std::string_view name;     // "subject.detail"
  std::string_view promise;  // one sentence: what holds when the check passes
  void (*body)();
};

// For namespace scope: adds a check to those that run.
int add(const Check& check);

struct Options {
  std::string module;
  std::vector<Group> groups;  // none: contract, and all for a module that says it is localdisk
  std::string filter;         // only checks whose name contains this
  std::string root;           // where the contract checks work; empty: where it makes sense
  std::vector<std::pair<std::string, std::string>> settings;  // for SetOpt, before anything else is asked
  bool json = false;                                          // an object a line instead of text
  int seconds_a_check = 60;                                   // then the check has failed
};

// Exit codes.
inline constexpr int kept = 0, broken = 1, nothing_checked = 2;

// Runs the checks and prints a line for each and the verdict; answers the exit code. `nothing_checked` stands for a
// module that can't be loaded, a filter that no check matches, and checks that were all skipped.
int run(Options options);

// Prints the group, the name and the promise of each check that the options select.
int list(const Options& options);

// Inside a check: the symbol of that name in the module under test, or null; and what the checks were started with.
void* symbol(const char* name);
const Options& options();

// Ends the check as one that this machine or this module does not permit.
[[noreturn]] void skip(std::string reason);

// Notes a failure in one sentence; the check goes on. Called from any thread.
void fail(std::string_view sentence);
// The same where there is nothing to go on with.
[[noreturn]] void give_up(std::string_view sentence);

}  // namespace harness

#define CONFORMANCE_CHECK(group, name, promise) CONFORMANCE_CHECK_NUMBER(__COUNTER__, group, name, promise)
#define CONFORMANCE_CHECK_NUMBER(number, group, name, promise) CONFORMANCE_CHECK_OF(number, group, name, promise)
#define CONFORMANCE_CHECK_OF(number, group, name, promise)                  \
  static void check_##number();                                             \
  [[maybe_unused]] static const int added_##number =                        \
      harness::add({harness::Group::group, name, promise, check_##number}); \
  static void check_##number()
