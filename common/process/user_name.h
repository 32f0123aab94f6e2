// Who the process runs as.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

#include "common/export.h"

// The login name of the process's real user; empty when the user has no entry among the system's users or the
// look-up fails. May be called from several threads at once: nothing of it lies in storage that the process
// shares.
LOCALDISK_EXPORT std::string GetUserName();

// The login name of the user `id`, empty as above. The system says only afterwards how much room an entry
// takes, so the look-up starts with `first_size` bytes and goes on with more where they don't suffice.
std::string login_name(uid_t id, std::size_t first_size = 1024);
