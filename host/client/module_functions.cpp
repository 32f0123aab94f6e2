#include "host/client/module_functions.h"

#include <sys/time.h>

#include <algorithm>

#include "host/client/decorated_names.h"

namespace host {

bool ModuleFunctions::matches(const std::string& expression, const std::string& name, bool ignore_case) const {
  using Match = bool(const char*, const char*, bool);
  return module_.function<Match>("_Z19IsNameInExpressionAPKcS0_b")(expression.c_str(), name.c_str(), ignore_case);
}

std::optional<StrictDate> ModuleFunctions::strict_date(const std::string& text) const {
  timeval time{};
  int offset = 0;
  using Parse = int(const char*, timeval*, int*);
  if (module_.function<Parse>("_Z16parse_date_basicPKcP7timevalPi")(text.c_str(), &time, &offset) != 0) return {};
  return StrictDate{time.tv_sec, time.tv_usec, offset};
}

std::optional<time_t> ModuleFunctions::approximate_date(const std::string& text) const {
  tm utc{};
  if (module_.function<int(const char*, tm*)>("_Z11approxidatePKcP2tm")(text.c_str(), &utc) != 0) return {};
  return ::timegm(&utc);
}

std::optional<time_t> ModuleFunctions::iso_date(const std::string& text) const {
  const time_t instant = module_.function<time_t(const char*)>("_Z16RFC3339ToLocalTMPKc")(text.c_str());
  return instant == 0 ? std::nullopt : std::optional(instant);
}

std::string ModuleFunctions::profile_text(const std::string& file, const std::string& section, const std::string& key,
                                          const std::string& default_value) const {
  constexpr std::size_t longest_line = 2047;  // no value is longer
  std::string value(std::max(longest_line, default_value.size()) + 1, '\0');
  using Read = unsigned int(std::string, std::string, std::string, char*, int, std::string);
  value.resize(module_.function<Read>(own_library.profile_string)(section, key, default_value, value.data(),
                                                                  static_cast<int>(value.size()), file));
  return value;
}

unsigned int ModuleFunctions::profile_number(const std::string& file, const std::string& section,
                                             const std::string& key, unsigned int default_value) const {
  using Read = unsigned int(std::string, std::string, unsigned int, std::string);
  return module_.function<Read>(own_library.profile_int)(section, key, default_value, file);
}

}  // namespace host
