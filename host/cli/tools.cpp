// touch, date and profile.
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <system_error>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/cli/date_text.h"
#include "host/client/module_functions.h"
#include "host/client/paths.h"
#include "host/client/times.h"

namespace host {

int touch(const Session& session, const std::string& typed, const std::optional<std::string>& accessed,
          const std::optional<std::string>& modified) {
  const std::string path = absolute_path(typed);
  const ModuleFunctions functions(session.module);
  const time_t now = ::time(nullptr);
  const bool both_now = !accessed && !modified;
  // A date that is none must not make a file.
  const time_t new_access = accessed ? read_date(functions, *accessed) : now;
  const time_t new_modification = modified ? read_date(functions, *modified) : now;
  Drive& drive = session.drive;
  std::optional<_FS_FILE_V2> file = drive.find(path);
  if (!file) file = drive.upload(parent_of(path), name_of(path), 0, new_handle(), {});
  drive.set_times(path, accessed || both_now ? new_access : parse_record_time(file->atime),
                  modified || both_now ? new_modification : parse_record_time(file->mtime));
  const _FS_FILE_V2 kept = drive.info(path);
  if ((accessed && !shows_time(kept.atime, new_access)) || (modified && !shows_time(kept.mtime, new_modification))) {
    throw CommandError(
        fmt::format("{} can't keep that time: it shows {}, accessed {}", path, kept.mtime, kept.atime));
  }
  return exit_done;
}

int show_date(const Session& session, const std::string& text) {
  const ModuleFunctions functions(session.module);
  const auto strict = functions.strict_date(text);
  const auto approximate = functions.approximate_date(text);
  const auto iso = functions.iso_date(text);
  const std::string nothing = "not understood";
  fmt::print("strict       {}\n",
             !strict ? nothing
                     : fmt::format("{}, {:06} microseconds, offset {}{:02}:{:02}", format_utc_time(strict->seconds),
                                   strict->microseconds, strict->offset_minutes < 0 ? '-' : '+',
                                   std::abs(strict->offset_minutes) / 60, std::abs(strict->offset_minutes) % 60));
  fmt::print("approximate  {}\n", approximate ? format_utc_time(*approximate) : nothing);
  fmt::print("ISO 8601     {}\n", iso ? format_utc_time(*iso) : nothing + ", or " + format_utc_time(0));
  flush_output();
  return strict || approximate || iso ? exit_done : exit_failed;
}

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
