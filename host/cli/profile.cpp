// profile
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <system_error>

#include "host/cli/commands.h"
#include "host/client/module_functions.h"

namespace host {

int show_setting(const Session& session, const Setting& setting) {
  const ModuleFunctions functions(session.module);
  if (::access(setting.file.c_str(), R_OK) != 0 && !setting.default_value) {
    throw std::system_error(errno, std::generic_category(), setting.file);
  }
  if (setting.number) {
    unsigned int default_value = 0;
    const std::string& text = setting.default_value.value_or("0");
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), default_value);
    if (error != std::errc() || end != text.data() + text.size()) {
      throw UsageError(fmt::format("'{}' is not a number from 0 to 4294967295", text));
    }
    fmt::print("{}\n", functions.profile_number(setting.file, setting.section, setting.key, default_value));
    return exit_done;
  }
  const std::string value =
      functions.profile_text(setting.file, setting.section, setting.key, setting.default_value.value_or(""));
  if (value.empty() && !setting.default_value) {
    throw CommandError(fmt::format("{}: no value for '{}' in [{}]", setting.file, setting.key, setting.section));
  }
  fmt::print("{}\n", value);
  return exit_done;
}

}  // namespace host
