// What a drive that was killed leaves for the next one to know: which file each cached content belongs to, and what
// the drive itself had put aside.
#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/mount/descriptor.h"

namespace host {

// A file of records, each appended with one write. Later records replace earlier ones of the same number. It survives
// the process, not the machine's power.
class Journal {
 public:
  explicit Journal(const std::filesystem::path& file);  // continues it, or makes it

  // Whose folder it is: of which module, and where there.
  void note_root(const std::string& module, const std::string& root, const std::string& upload_prefix);
  void note_content(unsigned long number, const std::string& path);
  // A file that was removed or replaced while programs had it open, and where its content is until they close it.
  void note_removed(unsigned long number, const std::string& aside);
  void note_replaced(unsigned long number, const std::string& aside, const std::string& path);
  void forget(unsigned long number);  // never throws

  struct Kept {
    std::string module, root, upload_prefix;
    std::map<unsigned long, std::string> contents;  // by number: the path on the drive
    std::vector<std::string> removed;
    std::vector<std::pair<std::string, std::string>> replaced;  // where it is, and what it was
  };
  static Kept read(const std::filesystem::path& file);  // a record that is cut off is left out

 private:
  void reserve_room();
  void append(char kind, unsigned long number, const std::string& first, const std::string& second = {});

  std::mutex lock_;
  Descriptor file_;
  std::size_t live_ = 0;  // numbers that have a record which counts
  long long length_ = 0, head_length_ = 0;
};

}  // namespace host
