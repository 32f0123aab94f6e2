// What the rows work on. Folders and files are made when they are first asked for, in the folders that the
// environment names, where the next process finds them again; without such a folder, in a temporary one that goes
// with the process.
#pragma once

#include <string>

#include "localdisk/protocol.h"

namespace bench {

// Base folders: LOCALDISK_BENCH_MEMORY, best on a file system in memory, and LOCALDISK_BENCH_DISK.
const std::string& memory_folder();
const std::string& disk_folder();

// The path of a folder with `entries` empty files.
std::string folder_of(int entries);
std::string folder_on_disk_of(int entries);

// The path of a file of `bytes` bytes in the page cache of the disk's file system.
std::string cached_file(long long bytes);

// The path of a file with this text.
std::string text_file(const std::string& name, const std::string& content);

// Sets TZ to the machine's zone, for the rest of the process.
void set_zone();

// A protocol object of the module.
IProtocol_V2& drive();

struct CountingList final : IFileList {
  long long entries = 0;
  int AddFile(_FS_FILE_V2*) override {
    ++entries;
    return 0;
  }
};

}  // namespace bench
