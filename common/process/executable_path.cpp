#include "common/process/executable_path.h"

#include <unistd.h>

#include <array>
#include <cstdint>

#if defined(__APPLE__)
#include <mach-o/dyld.h>
#endif

namespace localdisk {
namespace {

constexpr std::size_t longest_path = 1024;  // bytes
using Buffer = std::array<char, longest_path + 1>;

}  // namespace

std::string executable_path() {
#if defined(__APPLE__)
  Buffer path{};
  auto size = static_cast<std::uint32_t>(path.size());
  return ::_NSGetExecutablePath(path.data(), &size) == 0 ? path.data() : std::string();
#else
  return link_text("/proc/self/exe");
#endif
}

std::string link_text(const char* link) {
  Buffer text;
  const ssize_t length = ::readlink(link, text.data(), text.size());
  if (length < 0 || static_cast<std::size_t>(length) > longest_path) return {};  // a full buffer may hold a part
  return {text.data(), static_cast<std::size_t>(length)};
}

std::string directory_of(std::string path) {
  const auto separator = path.rfind('/');
  path.erase(separator == std::string::npos ? 0 : separator);
  return path;
}

}  // namespace localdisk
