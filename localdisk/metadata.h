// From the file system's status of an entry to the texts of the host's record.
#pragma once

#include <sys/stat.h>

#include <ctime>
#include <optional>
#include <string_view>

#include "common/time/timestamp_text.h"
#include "localdisk/file_record.h"

namespace localdisk {

// The local wall clock at one instant as a timestamp text; empty where the calendar record can't hold it. The zone is
// the one that the last ::tzset saw, which an operation calls once before it describes entries.
class WallClock {
 public:
  // The answer lives until the next question.
  std::string_view at(time_t instant) noexcept;

 private:
  std::optional<time_t> instant_;  // of the text, for it takes a while to tell
  TimestampText text_;
};

// The texts of the three times of an entry. Entries that are described one after the other by one object share what
// the last one has in common with them: what was written together has its times together.
class FileTimes {
 public:
  // Writes the texts into the strings that the record has. Gets the memory for all of them before it changes one.
  void put_into(_FS_FILE_V2& file, const struct stat& status);

 private:
  WallClock ctime_, atime_, mtime_;
};

int type_of(const struct stat& status);

// Whether the entry is one that the protocol moves, deletes and re-times: a regular file or a directory.
bool is_file_or_directory(const struct stat& status);

}  // namespace localdisk
