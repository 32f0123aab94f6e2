#include "host/mount/options.h"

#include <array>

namespace host {
namespace {

struct Flag {
  const char* name;
  bool MountOptions::*member;
};
constexpr std::array flags{Flag{"--read-only", &MountOptions::read_only},
                           Flag{"--foreground", &MountOptions::foreground},
                           Flag{"--verbose", &MountOptions::verbose}};

bool set_flag(MountOptions& options, const std::string& argument) {
  for (const Flag& flag : flags) {
    if (argument != flag.name) continue;
    options.*flag.member = true;
    return true;
  }
  return false;
}

}  // namespace

std::vector<std::string> arguments_of(const MountOptions& options) {
  std::vector<std::string> arguments{options.module.string(), options.root, options.mount_point,
                                     options.cache.string()};
  for (const Flag& flag : flags) {
    if (options.*flag.member) arguments.emplace_back(flag.name);
  }
  return arguments;
}

std::optional<MountOptions> options_of(const std::vector<std::string>& arguments) {
  constexpr std::size_t paths = 4;
  if (arguments.size() < paths) return std::nullopt;
  MountOptions options{arguments[0], arguments[1], arguments[2], arguments[3]};
  for (std::size_t i = paths; i < arguments.size(); ++i) {
    if (!set_flag(options, arguments[i])) return std::nullopt;
  }
  return options;
}

}  // namespace host
