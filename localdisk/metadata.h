// From the file system's status of an entry to the texts of the host's record.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace localdisk {

// The last component of a host path, trailing dividers aside; "/" for a path of dividers alone.
std::string_view last_component(std::string_view path);

// The timestamp text of the local wall clock at an instant, empty where the calendar record can't hold it.
// The zone is the one that the last ::tzset saw, which an operation calls once before it describes entries.
std::string wall_clock_text(time_t instant);

// Whether the entry is one that the protocol moves, deletes and re-times: a regular file or a directory.
bool is_file_or_directory(const struct stat& status);

}  // namespace localdisk
