#include <CLI/CLI.hpp>
#include <filesystem>

#include "conformance/harness.h"
#include "testing/process_locale.h"

int main(int argc, char** argv) {
  harness::Options options;
  CLI::App app{"Checks whether a storage module keeps the contract between module and host", "localdisk-check"};
  app.add_option("MODULE", options.module, "the module's file")->required()->check(CLI::ExistingFile);
  app.add_option("--filter", options.filter, "only checks whose name contains this text");
  app.add_option("--seconds", options.seconds_a_check, "time limit of one check")->check(CLI::Range(1, 3600));
  app.add_flag("--json", options.json, "an object a line instead of text");
  CLI11_PARSE(app, argc, argv);
  options.module = std::filesystem::absolute(options.module);  // the loader looks a bare name up elsewhere
  set_process_locale();
  return harness::run(options);
}
