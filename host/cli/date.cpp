// date
#include <fmt/format.h>

#include <cstdlib>

#include "host/cli/commands.h"
#include "host/cli/console.h"
#include "host/client/module_functions.h"
#include "host/client/times.h"

namespace host {

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

}  // namespace host
