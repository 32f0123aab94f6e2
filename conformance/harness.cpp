#include "conformance/harness.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <exception>
#include <nlohmann/json.hpp>

#include "conformance/handshake.h"
#include "conformance/separate_process.h"
#include "testing/temporary_folder.h"

namespace harness {
namespace {

enum class Outcome { passed, failed, skipped };
constexpr std::array<const char*, 3> outcome_names{"passed", "FAILED", "skipped"};

struct Skip {};  // the reason is reported by then

std::vector<Check>& checks() {
  static std::vector<Check> all;
  return all;
}

// The state of the process that runs one check.
void* loaded_module = nullptr;
const Options* current_options = nullptr;
std::atomic<bool> failed = false;  // checks run threads of their own

constexpr int skipped_code = 2;

int run_here(const Check& check) {
  loaded_module = ::dlopen(current_options->module.c_str(), RTLD_NOW | RTLD_LOCAL);
  try {
    if (loaded_module == nullptr) give_up(fmt::format("The module can't be loaded: {}", ::dlerror()));
    check.body();
  } catch (const Skip&) {
    return failed ? broken : skipped_code;
  } catch (const std::exception& error) {
    fail(fmt::format("An exception left the module: {}", error.what()));
  } catch (...) {
    fail("An exception left the module");
  }
  return failed ? broken : kept;
}

struct Result {
  Outcome outcome;
  std::vector<std::string> reasons;
};

// The first sentences, each once: the others of a check mostly follow from them.
std::vector<std::string> telling(const std::vector<std::string>& lines) {
  constexpr std::size_t most = 5;
  std::vector<std::string> told;
  for (const std::string& line : lines)
    if (std::find(told.begin(), told.end(), line) == told.end()) told.push_back(line);
  if (told.size() <= most) return told;
  const std::size_t left_out = told.size() - most;
  told.resize(most);
  told.push_back(fmt::format("and {} more", left_out));
  return told;
}

Result run_check(const Check& check) {
  const ProcessResult process = run_apart([&] { return run_here(check); }, current_options->seconds_a_check);
  Result result{Outcome::failed, telling(process.lines)};
  if (process.exit_code == kept) result.outcome = Outcome::passed;
  if (process.exit_code == skipped_code) result.outcome = Outcome::skipped;
  if (result.outcome == Outcome::failed && result.reasons.empty()) result.reasons = {"A sanitizer's report"};
  return result;
}

void print(const Check& check, const Result& result, bool json) {
  const char* const outcome = outcome_names[static_cast<std::size_t>(result.outcome)];
  if (json) {
    const nlohmann::json line{{"group", group_name(check.group)},
                              {"check", check.name},
                              {"promise", check.promise},
                              {"outcome", outcome},
                              {"reasons", result.reasons}};
    fmt::print("{}\n", line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
  } else {
    fmt::print("{:<8} {:<9} {:<18} {}\n", outcome, group_name(check.group), check.name, check.promise);
    for (const std::string& reason : result.reasons) fmt::print("         {}\n", reason);
  }
  std::fflush(stdout);
}

std::vector<Check> selected(const Options& options) {
  std::vector<Check> found;
  for (const Group group : groups) {
    if (!options.groups.empty() &&
        std::find(options.groups.begin(), options.groups.end(), group) == options.groups.end())
      continue;
    for (const Check& check : checks())
      if (check.group == group && check.name.find(options.filter) != std::string_view::npos) found.push_back(check);
  }
  return found;
}

int refuse(const std::string& reason) {
  fmt::print(stderr, "localdisk-check: {}\n", reason);
  return nothing_checked;
}

// Loads the module once: whether that can be done at all, whether the module was built for this program's standard
// library, and which type it says it is of, which may stay unknown.
int meet(const std::string& module) {
  void* const library = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return report_line(fmt::format("{} can't be loaded: {}", module, ::dlerror())), broken;
  if (const std::string mixed = standard_library_mismatch(library); !mixed.empty())
    return report_line(fmt::format("{}: {}", module, mixed)), broken;
  report_line("");
  const auto name_type = reinterpret_cast<void (*)(char**)>(::dlsym(library, "GetSupportProtocol"));
  char* name = nullptr;
  if (name_type != nullptr) name_type(&name);
  if (name != nullptr) report_line(name);
  return kept;
}

}  // namespace

std::string_view group_name(Group group) {
  constexpr std::array<std::string_view, 3> names{"contract", "disk", "localdisk"};
  return names[static_cast<std::size_t>(group)];
}

int add(const Check& check) {
  checks().push_back(check);
  return 0;
}

void fail(std::string_view sentence) {
  failed = true;
  report_line(sentence);
}

void give_up(std::string_view sentence) {
  fail(sentence);
  throw Skip{};
}

void skip(std::string reason) {
  report_line(reason);
  throw Skip{};
}

void* symbol(const char* name) { return ::dlsym(loaded_module, name); }
const Options& options() { return *current_options; }

int list(const Options& options) {
  for (const Check& check : selected(options)) {
    if (options.json) {
      const nlohmann::json line{
          {"group", group_name(check.group)}, {"check", check.name}, {"promise", check.promise}};
      fmt::print("{}\n", line.dump());
    } else {
      fmt::print("{:<9} {:<18} {}\n", group_name(check.group), check.name, check.promise);
    }
  }
  return kept;
}

int run(Options options) {
  const TemporaryFolder folder;  // for all that the checks make, so that nothing stays of one that was killed
  ::chmod(folder.path().c_str(), 0711);
  ::setenv("TMPDIR", folder.path().c_str(), 1);
  end_on_interrupt();

  const ProcessResult met = run_apart([&] { return meet(options.module); }, options.seconds_a_check);
  if (met.lines.empty() || !met.lines.front().empty()) {
    if (met.exit_code >= 0 && !met.lines.empty()) return refuse(met.lines.front());
    const char* const ended = met.exit_code < 0 ? "that took too long" : "that ended the process";
    return refuse(
        fmt::format("{} can't be loaded: {}", options.module, met.lines.empty() ? ended : met.lines.front()));
  }
  const bool is_localdisk = met.lines.size() > 1 && met.lines[1] == "localdisk";
  if (options.groups.empty() && !is_localdisk) options.groups = {Group::contract};
  if (options.root.empty()) options.root = is_localdisk ? folder.path() : "/";
  current_options = &options;

  const std::vector<Check> chosen = selected(options);
  if (chosen.empty()) return refuse(fmt::format("no check has '{}' in its name", options.filter));
  std::array<int, 3> counts{};
  for (const Check& check : chosen) {
    const Result result = run_check(check);
    if (was_interrupted()) return refuse("interrupted");
    ++counts[static_cast<std::size_t>(result.outcome)];
    print(check, result, options.json);
  }
  const auto [passed, failures, skipped] = counts;
  const bool good = failures == 0 && passed > 0;
  if (options.json) {
    fmt::print("{}\n",
               nlohmann::json{{"passed", passed}, {"failed", failures}, {"skipped", skipped}, {"good", good}}.dump());
  } else {
    fmt::print("{} checks passed, {} failed, {} skipped: {}\n", passed, failures, skipped,
               good ? "the module keeps the contract"
                    : (failures > 0 ? "the module BREAKS the contract" : "nothing was checked"));
  }
  return good ? kept : (failures > 0 ? broken : nothing_checked);
}

}  // namespace harness
