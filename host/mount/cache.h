// The host's own files, one for the content of each file that is written through the drive.
#pragma once

#include <atomic>
#include <ctime>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/mount/descriptor.h"
#include "host/mount/journal.h"

namespace host {

class CacheFolder;

// One private file, which goes with its object unless it is kept. What fails throws std::system_error; content that
// someone took away is a failure too.
class CacheFile {
 public:
  CacheFile(CacheFolder& folder, unsigned long number);                   // makes the file
  CacheFile(CacheFolder& folder, unsigned long number, Descriptor file);  // takes an empty one
  CacheFile(CacheFile&& other) noexcept;
  CacheFile& operator=(CacheFile&& other) noexcept;
  ~CacheFile();

  [[nodiscard]] unsigned long number() const { return number_; }
  [[nodiscard]] long long size() const { return size_; }
  // Answers how much it was: less than `out` holds at the end only.
  std::size_t read(std::span<char> out, long long offset) const;
  void write(std::span<const char> data, long long offset);  // past the end too: a hole fills the gap
  void append(std::span<const char> data);                   // zeros at length become a hole
  void resize(long long size);
  // Where the first byte at or after `offset` is that is not in a hole; the size where there is none.
  [[nodiscard]] long long next_data(long long offset) const;

  // A journal that can't be written to fails here, before anything is changed.
  void belongs_to(const std::string& path);
  void belongs_nowhere();  // what is left of it after a kill goes

  // Leaves it for the user at `place`, of whose folders none has to be there.
  void keep_at(const std::filesystem::path& place);

 private:
  [[nodiscard]] std::filesystem::path path() const;
  void expect(bool good) const;  // throws the errno of what failed

  CacheFolder* folder_;  // none where there is nothing to remove
  unsigned long number_;
  Descriptor file_;
  long long size_ = 0;
  bool noted_ = false;
};

// A new folder that only this user can enter. It removes itself unless something was rescued into it.
class CacheFolder {
 public:
  explicit CacheFolder(const std::filesystem::path& parent);
  ~CacheFolder();
  CacheFolder(const CacheFolder&) = delete;
  CacheFolder& operator=(const CacheFolder&) = delete;

  CacheFile new_file();
  unsigned long new_number() { return ++files_; }  // for a record of the journal without a file
  Journal& journal() { return *journal_; }
  // Keeps the content for the user under the path it had on the drive, and answers where that is.
  std::filesystem::path rescue(CacheFile content, const std::string& drive_path, time_t modified);
  [[nodiscard]] std::filesystem::path rescue_folder() const { return path_ / "rescue"; }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  friend class CacheFile;
  // Making and removing a file for each small content would take longer than all else: a few empty ones wait.
  struct Spare {
    unsigned long number;
    Descriptor file;
  };
  bool take_spare(unsigned long number, Descriptor& file, long long size);

  std::filesystem::path path_;
  Descriptor lock_;  // tells the next drive that this one is alive
  std::optional<Journal> journal_;
  std::atomic<unsigned long> files_ = 0;
  bool rescued_ = false;
  std::mutex spares_lock_;
  std::vector<Spare> spares_;
};

// Where the cache is unless the user names a place: a folder that is still there after a restart.
std::filesystem::path default_cache_folder();

// What drives that were killed have left in `parent`: each folder is this process's until the object goes.
struct AbandonedCache {
  std::filesystem::path path;
  Descriptor lock;
  Journal::Kept kept;
};
std::vector<AbandonedCache> find_abandoned(const std::filesystem::path& parent);

// Puts each content under the folder's rescue/, by its path, and answers where; then removes the rest of the folder.
struct RescuedContent {
  std::string path;
  std::filesystem::path kept;
};
std::vector<RescuedContent> rescue_contents(const AbandonedCache& cache);

}  // namespace host
