// What a line of a profile file says. Lines come trimmed, and all results are parts of them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace localdisk {

// The trimmed name in the brackets when `line` is a section header. "[]" is too short to be one, "[ ]" names "".
std::optional<std::string_view> section_name(std::string_view line);

struct Setting {
  std::string_view key;
  std::string_view value;
};

// The first two of the pieces between the "=" of `line`, where a last piece that is empty doesn't count; nothing when
// there are fewer. So "k=" is no setting, "k==" is one with the empty value and "=v" one with the empty key.
std::optional<Setting> setting_in(std::string_view line);

// A name prepared for case-insensitive comparison, by the case mapping that the locale has now.
class RequestedName {
 public:
  explicit RequestedName(std::string_view name);
  [[nodiscard]] bool matches(std::string_view name) const;

 private:
  std::string name_;
};

}  // namespace localdisk
