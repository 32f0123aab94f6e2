#include "conformance/harness.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <vector>

namespace harness {
namespace {

enum class Outcome { passed, failed, skipped };
constexpr std::array<const char*, 3> outcome_names{"passed", "FAILED", "skipped"};

struct Skip {
  std::string reason;
};

struct Result {
  Outcome outcome;
  std::string reason;
};

std::vector<Check>& checks() {
  static std::vector<Check> all;
  return all;
}

// The state of the process that runs one check.
void* loaded_module = nullptr;
int report_descriptor = -1;
std::atomic<bool> failed = false;  // checks run threads of their own

void report(const std::string& text) {
  if (::write(report_descriptor, text.data(), text.size()) < 0) ::_exit(3);
}

[[noreturn]] void run_here(const Check& check, const std::string& module) {
  loaded_module = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
  try {
    if (loaded_module == nullptr) {
      fail(__FILE__, __LINE__, fmt::format("the module can't be loaded: {}", ::dlerror()));
    } else {
      check.body();
    }
  } catch (const Skip& skipped) {
    report(skipped.reason);
    ::_exit(failed ? 1 : 2);
  } catch (const std::exception& error) {
    fail(__FILE__, __LINE__, fmt::format("an exception came out: {}", error.what()));
  } catch (...) {
    fail(__FILE__, __LINE__, "an exception came out");
  }
  std::exit(failed ? 1 : 0);  // with the checkers' work at exit, and what they then say as the exit code
}

// What the check's process reports until it ends; kills it when the time is up.
std::string collect(int descriptor, pid_t process, int seconds) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::seconds(seconds);
  std::string text;
  for (std::array<char, 4096> part;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd readable{descriptor, POLLIN, 0};
    if (left <= 0 || ::poll(&readable, 1, static_cast<int>(left)) == 0) {
      ::kill(process, SIGKILL);
      return text + fmt::format("no end after {} seconds; ", seconds);
    }
    const ssize_t got = ::read(descriptor, part.data(), part.size());
    if (got <= 0) return text;
    text.append(part.data(), static_cast<std::size_t>(got));
  }
}

Result run_apart(const Check& check, const Options& options) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return {Outcome::failed, "no pipe to be had"};
  std::fflush(nullptr);
  const pid_t process = ::fork();
  if (process == 0) {
    ::close(ends[0]);
    report_descriptor = ends[1];
    run_here(check, options.module);
  }
  ::close(ends[1]);
  std::string reason = process < 0 ? "no process to be had" : collect(ends[0], process, options.seconds_a_check);
  ::close(ends[0]);
  int status = 0;
  if (process > 0) ::waitpid(process, &status, 0);
  if (WIFSIGNALED(status)) return {Outcome::failed, reason + "ended by signal: " + ::strsignal(WTERMSIG(status))};
  if (process > 0 && WEXITSTATUS(status) == 2) return {Outcome::skipped, reason};
  if (process < 0 || WEXITSTATUS(status) != 0)
    return {Outcome::failed, reason.empty() ? "a checker's report" : reason};
  return {Outcome::passed, ""};
}

void print(const Check& check, const Result& result, bool json) {
  const char* const name = outcome_names[static_cast<std::size_t>(result.outcome)];
  if (json) {
    const nlohmann::json line{
        {"check", check.name}, {"promise", check.promise}, {"outcome", name}, {"reason", result.reason}};
    fmt::print("{}\n", line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
  } else {
    fmt::print("{:<8} {:<28} {}\n", name, check.name, check.promise);
    if (!result.reason.empty()) fmt::print("         {}\n", result.reason);
  }
  std::fflush(stdout);
}

}  // namespace

int add(const Check& check) {
  checks().push_back(check);
  return 0;
}

void fail(const char* file, int line, std::string reason) {
  failed = true;
  report(fmt::format("{}:{}: {}; ", std::filesystem::path(file).filename().string(), line, reason));
}

void give_up(const char* file, int line, std::string reason) {
  fail(file, line, std::move(reason));
  throw Skip{};
}

void skip(std::string reason) { throw Skip{std::move(reason)}; }

void* symbol(const char* name) { return ::dlsym(loaded_module, name); }

int run(const Options& options) {
  std::array<int, 3> counts{};
  for (const Check& check : checks()) {
    if (check.name.find(options.filter) == std::string_view::npos) continue;
    const Result result = run_apart(check, options);
    ++counts[static_cast<std::size_t>(result.outcome)];
    print(check, result, options.json);
  }
  const auto [passed, failures, skipped] = counts;
  if (passed + failures + skipped == 0) {
    fmt::print(stderr, "No check has '{}' in its name.\n", options.filter);
    return 1;
  }
  const bool good = failures == 0 && passed > 0;
  if (options.json) {
    fmt::print("{}\n",
               nlohmann::json{{"passed", passed}, {"failed", failures}, {"skipped", skipped}, {"good", good}}.dump());
  } else {
    fmt::print("{} checks passed, {} failed, {} skipped: {}\n", passed, failures, skipped,
               good ? "the module keeps the contract"
                    : (failures > 0 ? "the module BREAKS the contract" : "nothing was checked"));
  }
  constexpr int undecided = 2;
  return good ? 0 : (failures > 0 ? 1 : undecided);
}

}  // namespace harness
