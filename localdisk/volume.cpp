#include "localdisk/volume.h"

#if defined(__APPLE__)
#include <sys/mount.h>
#include <sys/param.h>
#else
#include <sys/vfs.h>
#endif

std::optional<localdisk::VolumeUse> localdisk::volume_use(const std::string& path) {
  struct statfs volume {};
  if (::statfs(path.c_str(), &volume) != 0) return std::nullopt;
  const auto block = static_cast<unsigned long long>(volume.f_bsize);
  return VolumeUse{block * volume.f_blocks, block * (volume.f_blocks - volume.f_bavail)};
}
