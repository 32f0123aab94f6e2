// Size and use of a volume: the one place where the platforms' calls for it differ.
#pragma once

#include <optional>
#include <string>

namespace localdisk {

struct VolumeUse {
  unsigned long long total;  // bytes
  unsigned long long used;   // bytes, those reserved for the system included
};

// The volume that holds `path`; nothing when the system can't say, with the reason in errno.
std::optional<VolumeUse> volume_use(const std::string& path);

}  // namespace localdisk
