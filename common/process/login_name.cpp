#include "common/process/login_name.h"

#include <pwd.h>

#include <algorithm>
#include <cerrno>
#include <vector>

namespace localdisk {
namespace {

// No real entry comes near. A user data base that asks for more is broken, and must not eat up memory.
constexpr std::size_t largest_entry = std::size_t{1} << 20;

}  // namespace

std::string login_name(uid_t id, std::size_t first_size) {
  std::vector<char> texts(std::max<std::size_t>(first_size, 1));
  for (;;) {
    passwd entry{};
    passwd* found = nullptr;
    const int error = ::getpwuid_r(id, &entry, texts.data(), texts.size(), &found);
    if (error == 0) return found == nullptr || found->pw_name == nullptr ? std::string() : found->pw_name;
    if (error == EINTR) continue;
    if (error != ERANGE || texts.size() >= largest_entry) return {};
    texts.resize(texts.size() * 2);
  }
}

}  // namespace localdisk
