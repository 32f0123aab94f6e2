// From the file system's status of an entry to the texts of the host's record.
#pragma once

#include <sys/stat.h>

#include "common/time/timestamp_text.h"
#include "localdisk/file_record.h"

namespace localdisk {

// The timestamp texts of the local wall clock at the three times of an entry; empty where the calendar record can't
// hold one. The zone is the one that the last ::tzset saw, which an operation calls once before it describes entries.
struct FileTimes {
  explicit FileTimes(const struct stat& status) noexcept;

  // Writes the texts into the strings that the record has. Gets the memory for all of them before it changes one.
  void put_into(_FS_FILE_V2& file) const;

  TimestampText ctime, atime, mtime;
};

int type_of(const struct stat& status);

// Whether the entry is one that the protocol moves, deletes and re-times: a regular file or a directory.
bool is_file_or_directory(const struct stat& status);

}  // namespace localdisk
