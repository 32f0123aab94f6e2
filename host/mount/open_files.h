// The files that are open on the drive, and those whose content the drive could not take yet.
//
// A file's content is the drive's until the first change; from then on it is the cache's, with size and times,
// until an upload has succeeded. All handles of a file share its one cache file.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <vector>

#include "host/mount/cache.h"
#include "host/mount/rooted_drive.h"

namespace host {

// Any of its operations may run at once with any other. A file's transfers hold the lock of its content alone:
// only work on the same file waits for them, and what asks for its attributes does not even then.
class OpenFile {
 public:
  OpenFile(RootedDrive& drive, CacheFolder& cache, std::string path);

  std::size_t read(std::span<char> out, long long offset);
  void write(std::span<const char> data, long long offset);
  void resize(long long size);
  void set_times(const NewTimes& times);
  void list(const RootedDrive::Visit& visit);  // for a directory, which follows its moves as files do
  // Uploads the content if it changed. On a failure it stays in the cache, as changed as it was.
  void flush();
  [[nodiscard]] Attributes attributes();  // waits for transfers where the drive has to be asked
  // What the cache knows better than the drive; nothing while the drive knows it all.
  [[nodiscard]] std::optional<Attributes> cached_attributes() const;

 private:
  friend class OpenFiles;
  [[nodiscard]] bool is_cached() const { return cached_attributes().has_value(); }
  [[nodiscard]] bool is_removed() const;
  // These want the lock of the content, held alone.
  void take_into_cache();
  void take_empty_into_cache();
  void mark_dirty();
  void mark_removed();

  RootedDrive& drive_;
  CacheFolder& cache_;
  std::string path_;  // changes under the lock of the content and that of the table: either is enough to read it
  int handles_ = 0;   // under the lock of the table

  std::shared_mutex content_lock_;
  std::optional<CacheFile> content_;
  bool is_new_ = false;  // created by this host, and never filled
  Attributes on_drive_;  // what the drive said when `content_` was the same as its own

  mutable std::mutex state_lock_;  // of what follows; held for no longer than to look or to change it
  bool changed_ = false;           // since the last upload
  bool removed_ = false;           // from the drive: only the cache has it
  Attributes seen_;                // while it is changed or removed
};

// The operations that have to know which files are open. Those on one path, or on a path and one above it, must
// not run at once with remove, move and remove_directory: whoever serves the file system keeps them apart.
class OpenFiles {
 public:
  OpenFiles(RootedDrive& drive, CacheFolder& cache) : drive_(drive), cache_(cache) {}

  // Every open wants its close.
  std::shared_ptr<OpenFile> open(const std::string& path);
  std::shared_ptr<OpenFile> create(const std::string& path);  // on the drive too, where others see it at once
  // Uploads what is changed. What the drive does not take stays here, is seen under its path, and is tried again
  // when it is flushed next.
  void close(OpenFile& file);

  Attributes attributes(const std::string& path);
  void set_times(const std::string& path, const NewTimes& times);
  void resize(const std::string& path, long long size);

  // Open files keep their content when they are removed or replaced, for those who hold them. `alias` is a name
  // under which a removed one can still be found here until that is removed too.
  void remove(const std::string& path, const std::string& alias = {});
  void move(const std::string& from, const std::string& to);
  void remove_directory(const std::string& path);

  struct Rescued {
    std::string path, reason;
    std::filesystem::path kept;
  };
  // The end: uploads what is changed, and keeps for the user what the drive does not take.
  std::vector<Rescued> finish();

 private:
  using Files = std::map<std::string, std::shared_ptr<OpenFile>>;
  [[nodiscard]] std::shared_ptr<OpenFile> find(const std::string& path) const;
  [[nodiscard]] std::vector<std::shared_ptr<OpenFile>> at_or_below(const std::string& path) const;
  [[nodiscard]] bool is_open(const std::string& path) const;
  bool drop(const OpenFile& file);

  RootedDrive& drive_;
  CacheFolder& cache_;
  mutable std::mutex table_lock_;  // of `files_`; nothing else is waited for while it is held
  Files files_;
};

}  // namespace host
