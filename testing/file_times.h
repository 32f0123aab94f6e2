// When a file was read and changed, by the name that each system has for it.
#pragma once

#include <sys/stat.h>

#include <ctime>

#if defined(__APPLE__)
inline timespec access_time(const struct stat& status) { return status.st_atimespec; }
inline timespec modification_time(const struct stat& status) { return status.st_mtimespec; }
#else
inline timespec access_time(const struct stat& status) { return status.st_atim; }
inline timespec modification_time(const struct stat& status) { return status.st_mtim; }
#endif
