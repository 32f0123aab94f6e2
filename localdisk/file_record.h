// The record in which entries travel between module and host.
//
// Host and module are built apart and must share one standard library: the layout below is part of the contract.
#pragma once

#include <cstddef>
#include <deque>
#include <string>

// One entry. A record that the host passes is the host's; one that the module hands out lives for that call.
struct _FS_FILE_V2 {
  std::string path;    // full host path
  int type = 0;        // FS_TYPE_FILE or FS_TYPE_DIRECTORY
  long long size = 0;  // in bytes, as the file system tells it
  std::string ctime;   // the three times are timestamp texts (common/time/rfc3339.h) that carry the local wall clock
  std::string atime;   // of the last access; ctime is that of the last change of status
  std::string mtime;   // of the last change of content
  std::string name;    // last component of the path
  std::string extra1;  // the host's own; the module neither reads nor writes it
  std::deque<std::string> parents;  // host paths of the parent; a listing stores the listed directory here
  std::string extra2;               // as extra1
};

// The values of _FS_FILE_V2::type; whatever is no directory counts as a file.
inline constexpr int FS_TYPE_FILE = 1;
inline constexpr int FS_TYPE_DIRECTORY = 2;

#if defined(__LP64__) && !defined(_GLIBCXX_DEBUG)
namespace localdisk::layout {
#if defined(_LIBCPP_VERSION)
inline constexpr std::size_t text = 24, list = 48;
#else
inline constexpr std::size_t text = 32, list = 80;
#endif
static_assert(sizeof(std::string) == text && sizeof(std::deque<std::string>) == list);
static_assert(offsetof(_FS_FILE_V2, path) == 0);
static_assert(offsetof(_FS_FILE_V2, type) == text);
static_assert(offsetof(_FS_FILE_V2, size) == text + 8);
static_assert(offsetof(_FS_FILE_V2, ctime) == text + 16);
static_assert(offsetof(_FS_FILE_V2, atime) == 2 * text + 16);
static_assert(offsetof(_FS_FILE_V2, mtime) == 3 * text + 16);
static_assert(offsetof(_FS_FILE_V2, name) == 4 * text + 16);
static_assert(offsetof(_FS_FILE_V2, extra1) == 5 * text + 16);
static_assert(offsetof(_FS_FILE_V2, parents) == 6 * text + 16);
static_assert(offsetof(_FS_FILE_V2, extra2) == 6 * text + list + 16);
static_assert(sizeof(_FS_FILE_V2) == 7 * text + list + 16);
}  // namespace localdisk::layout
#endif
