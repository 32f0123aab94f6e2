// Asking the system for the names of its users.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace localdisk {

// The login name of the user `id`, empty when there is no such entry or the look-up fails. The system says only
// afterwards how much room an entry takes, so the look-up starts with `first_size` bytes and goes on with more
// where they don't suffice.
std::string login_name(uid_t id, std::size_t first_size = 1024);

}  // namespace localdisk
