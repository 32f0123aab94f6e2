// Host paths and local paths as texts: nothing here looks at the disk.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace localdisk {

// The room that normalize needs for a path of `length` bytes: while components are kept, each has its separator
// before it, so a relative path takes one byte more than it holds.
constexpr std::size_t normalize_room(std::size_t length) { return length + 1; }

// Writes the normalized form of `path` (localdisk/normalize_path.h), without a terminator, and answers its length.
std::size_t normalize(std::string_view path, char* out);
// The same as a text that has room for `more` bytes behind it.
std::string normalized(std::string_view path, std::size_t more = 0);

// The local path of a host path: its normalized form, with a "." after it where that ends in the separator, as "/"
// does. It has room for `more` bytes behind it.
std::string local_path(std::string_view path, std::size_t more = 0);
// The local path of the entry `name` of a directory, by plain concatenation; empty where the directory's own is.
std::string local_entry(std::string_view directory, std::string_view name);

// The last component of a host path, trailing separators aside; "/" for a path of separators alone.
std::string_view last_component(std::string_view path);

// Cuts a normalized path back to its parent: "/" for the root, empty for a relative path of one component. It then
// has room for a name of the length that the last component had.
void cut_to_parent(std::string& path);

// `directory` and `name` with one separator between them, unless `directory` brings one.
std::string join(std::string_view directory, std::string_view name);
// `directory`, a separator and `name`, as they are: a directory that ends in a separator gives two.
std::string concatenate(std::string_view directory, std::string_view name);
// Puts `name` behind `directory`, with a separator between them unless `directory` brings one.
void append_name(std::string& directory, std::string_view name);

}  // namespace localdisk
