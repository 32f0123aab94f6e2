// touch, date and profile.
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <system_error>

#include "host/cli/commands.h"
#include "host/client/module_functions.h"
#include "host/client/paths.h"
#include "host/client/times.h"

namespace host {
namespace {

std::string in_utc(time_t instant) { return fmt::format("{:%Y-%m-%dT%H:%M:%S}Z", fmt::gmtime(instant)); }

// The instant that the user means, or the one that stands there already.
time_t chosen_time(const ModuleFunctions& utilities, const std::optional<std::string>& text, time_t default_value) {
  if (!text) return default_value;
  if (const std::optional<time_t> instant = utilities.approximate_date(*text)) return *instant;
  throw UsageError(fmt::format("nothing in '{}' is a date; 2024-05-31T12:00:00Z or 'yesterday 5pm' would be", *text));
}

}  // namespace

int touch(const Module& module, Drive& drive, const std::string& path, const std::optional<std::string>& accessed,
          const std::optional<std::string>& modified) {
  const ModuleFunctions utilities(module);
  const time_t now = ::time(nullptr);
  const bool both_now = !accessed && !modified;
  const time_t new_access = chosen_time(utilities, accessed, now);  // a date that is none must not make a file
  const time_t new_modification = chosen_time(utilities, modified, now);
  std::optional<_FS_FILE_V2> file = drive.find(path);
  if (!file) file = drive.upload(parent_of(path), name_of(path), 0, new_handle(), [](auto, auto, auto) {});
  drive.set_times(path, accessed || both_now ? new_access : parse_record_time(file->atime),
                  modified || both_now ? new_modification : parse_record_time(file->mtime));
  return exit_done;
}

int show_date(const Module& module, const std::string& text) {
  const ModuleFunctions utilities(module);
  const auto strict = utilities.strict_date(text);
  const auto approximate = utilities.approximate_date(text);
  const auto iso = utilities.iso_date(text);
  const std::string nothing = "not understood";
  fmt::print("strict       {}\n",
             !strict ? nothing
                     : fmt::format("{}, {:06} microseconds, offset {}{:02}:{:02}", in_utc(strict->seconds),
                                   strict->microseconds, strict->offset_minutes < 0 ? '-' : '+',
                                   std::abs(strict->offset_minutes) / 60, std::abs(strict->offset_minutes) % 60));
  fmt::print("approximate  {}\n", approximate ? in_utc(*approximate) : nothing);
  fmt::print("ISO 8601     {}\n", iso ? in_utc(*iso) : nothing + ", or " + in_utc(0));
  return strict || approximate || iso ? exit_done : exit_failed;
}

int show_setting(const Module& module, const Setting& setting) {
  const ModuleFunctions utilities(module);
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
    fmt::print("{}\n", utilities.profile_number(setting.file, setting.section, setting.key, default_value));
    return exit_done;
  }
  const std::string value =
      utilities.profile_text(setting.file, setting.section, setting.key, setting.default_value.value_or(""));
  if (value.empty() && !setting.default_value) {
    throw CommandError(fmt::format("{}: no value for '{}' in [{}]", setting.file, setting.key, setting.section));
  }
  fmt::print("{}\n", value);
  return exit_done;
}

}  // namespace host
