#include <CLI/CLI.hpp>
#include <filesystem>
#include <map>

#include "conformance/harness.h"
#include "testing/process_locale.h"

namespace {

constexpr const char* notes =
    R"(Exit codes: 0 the module keeps the contract, 1 it breaks it, 2 nothing was checked: the
module can't be loaded, it was built for another C++ standard library, every check was skipped, or the words above
were not understood.)";

}  // namespace

int main(int argc, char** argv) {
  harness::Options options;
  bool only_list = false;
  std::vector<std::string> settings;
  std::vector<std::string> groups;
  std::map<std::string, harness::Group> known;
  for (const harness::Group group : harness::groups) known.emplace(harness::group_name(group), group);

  CLI::App app{"Checks whether a storage module keeps the contract between module and host", "localdisk-check"};
  app.footer(notes);
  app.add_option("MODULE", options.module, "the module's file")->check(CLI::ExistingFile);
  app.add_option("--group", groups,
                 "contract: what every module does; disk: what one does that serves this machine's files; localdisk: "
                 "identity and utilities of that module. May be repeated. By default contract, and all three for a "
                 "module that says it is localdisk")
      ->type_name("NAME")
      ->check([&](const std::string& name) {
        return known.contains(name) ? std::string()
                                    : "no group '" + name + "'; there are contract, disk and localdisk";
      })
      ->allow_extra_args(false);
  app.add_option("--filter", options.filter, "only checks whose name contains this text");
  app.add_option("--root", options.root,
                 "the folder of the drive below which the contract checks work. By default a temporary folder for a "
                 "module that says it is localdisk, and / for any other");
  app.add_option("--option", settings, "an option KEY=VALUE, set before anything else is asked. May be repeated")
      ->allow_extra_args(false)
      ->check([](const std::string& text) {
        return text.find('=') == std::string::npos ? text + " is not KEY=VALUE" : std::string();
      });
  app.add_option("--seconds", options.seconds_a_check, "time limit of one check")->check(CLI::Range(1, 3600));
  app.add_flag("--json", options.json, "an object a line instead of text");
  app.add_flag("--list", only_list, "print the checks instead of running them; needs no MODULE");
  try {
    app.parse(argc, argv);
    if (options.module.empty() && !only_list) throw CLI::RequiredError("MODULE");
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? harness::kept : harness::nothing_checked;
  }
  for (const std::string& group : groups) options.groups.push_back(known.at(group));
  if (only_list) return harness::list(options);
  for (const std::string& setting : settings) {
    const std::size_t equals = setting.find('=');
    options.settings.emplace_back(setting.substr(0, equals), setting.substr(equals + 1));
  }
  while (options.root.size() > 1 && options.root.back() == '/') options.root.pop_back();
  options.module = std::filesystem::absolute(options.module);  // the loader looks a bare name up elsewhere
  set_process_locale();
  return harness::run(std::move(options));
}
