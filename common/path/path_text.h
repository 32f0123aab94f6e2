// Shapes the texts of paths. The disk is never asked, and texts are bytes: whatever encoding they have passes
// through untouched. The two trimming functions take "/" and "\" for separators, all others "/" alone.
#pragma once

#include <string>

#include "common/export.h"

// `path` with a "/" at its end, which is added unless it is there already. An empty path gives "/".
LOCALDISK_EXPORT std::string ensure_ends_with_divider(std::string path);

// `path` without the separators at its start. A path that is nothing but separators stays as it is: emptied it would
// name something else.
LOCALDISK_EXPORT std::string remove_head_slashes(std::string path);

// `path` without the separators at its end. A path that is nothing but separators stays as it is.
LOCALDISK_EXPORT std::string remove_tail_slashes(std::string path);

// `path` with every run of "/" reduced to one.
LOCALDISK_EXPORT std::string remove_duplicated_slashes(std::string path);

// Splits `path`, freed of the separators at its start, at its first "/": what stands before goes to `container`, all
// that follows, further separators included, to `name`. Without a "/" all of it is the container and the name is
// empty. An empty path leaves both as they are, and so does exhausted memory.
LOCALDISK_EXPORT void split_container_name(std::string path, std::string& container, std::string& name);

// What follows the last "/" of `path`: all of it when there is none, nothing when it ends in one.
LOCALDISK_EXPORT std::string get_file_name(std::string path);
