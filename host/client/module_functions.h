// The module's exported utilities that the commands use, found by their decorated names in the loaded library.
#pragma once

#include <ctime>
#include <optional>
#include <string>

#include "host/client/module.h"

namespace host {

struct StrictDate {
  time_t seconds;
  long microseconds;
  int offset_minutes;
};

class ModuleFunctions {
 public:
  explicit ModuleFunctions(const Module& module) : module_(module) {}

  // Whether a name matches a wildcard expression of the module's.
  [[nodiscard]] bool matches(const std::string& expression, const std::string& name, bool ignore_case) const;

  // What the module's readers of dates make of a text; nothing where they understand nothing.
  [[nodiscard]] std::optional<StrictDate> strict_date(const std::string& text) const;
  [[nodiscard]] std::optional<time_t> approximate_date(const std::string& text) const;
  [[nodiscard]] std::optional<time_t> iso_date(const std::string& text) const;  // nothing for the epoch itself, too

  // A setting of a profile file. The text is empty where there is neither setting nor default.
  [[nodiscard]] std::string profile_text(const std::string& file, const std::string& section, const std::string& key,
                                         const std::string& default_value) const;
  [[nodiscard]] unsigned int profile_number(const std::string& file, const std::string& section,
                                            const std::string& key, unsigned int default_value) const;

 private:
  const Module& module_;
};

}  // namespace host
