// The content of one open file, or of one that the drive could not take yet.
//
// It is the drive's until the first change; from then on it is the cache's, with size and times, until an upload has
// succeeded. All handles of a file share its one cache file.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <span>
#include <string>

#include "host/mount/cache.h"
#include "host/mount/rooted_drive.h"

namespace host {

// Any of its operations may run at once with any other. Where the file is on the drive is the caller's to say, and to
// keep as it is meanwhile; of a removed file it doesn't count. Transfers hold the lock of the content alone: only
// work on the same file waits for them, and what asks for its attributes does not even then.
class OpenFile {
 public:
  OpenFile(RootedDrive& drive, CacheFolder& cache) : drive_(drive), cache_(cache) {}
  ~OpenFile();
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  void read(const std::string& path, std::span<char> room, long long offset, const RootedDrive::Take& take);
  void write(const std::string& path, std::span<const char> data, long long offset);
  // Writes at the end that the file has on the drive now. Answers where that was.
  long long append(const std::string& path, std::span<const char> data);
  void resize(const std::string& path, long long size);
  void set_times(const std::string& path, const NewTimes& times);
  // Uploads the content if it changed. On a failure it stays in the cache, as changed as it was. Where the drive's
  // file is no longer the one that the content was taken from, both are kept, and the user is told.
  void flush(const std::string& path);
  // What the cache knows better than the drive; nothing while the drive knows it all.
  [[nodiscard]] std::optional<Attributes> cached_attributes() const;
  [[nodiscard]] bool is_cached() const { return cached_attributes().has_value(); }
  [[nodiscard]] bool is_removed() const;

  // Was just made on the drive, without content.
  void start_made(const Attributes& made);
  // Has nothing on the drive any more, and starts empty.
  void start_removed();
  // Whether it has to be held on to when no program has it open any more: only the cache has its content.
  [[nodiscard]] bool is_unsaved() const;

  // The file goes from the drive, or is replaced there by what `replace` does. Programs that have it open keep its
  // content where `is_read` says that one of them can ask for it. A removal succeeds even where there is no room for
  // that, and reading fails then.
  void remove(const std::string& path, bool is_read);
  void be_replaced(const std::string& path, bool is_read, const std::function<void()>& replace);
  void moved(const std::string& path);  // so that a kill finds it where it is
  // Leaves the content that the drive does not take to the user, and answers where.
  std::filesystem::path rescue(const std::string& path);

 private:
  // These want the lock of the content, held alone.
  void take_into_cache(const std::string& path, std::optional<long long> size_wanted = std::nullopt);
  void take_removed();
  void take_others_appends(const std::string& path);
  void fetch(const std::string& place, long long size);
  void mark_dirty(const std::string& path);
  void mark_removed(const Attributes& last);
  bool keep_in_cache(const std::string& path, const Attributes& file);
  bool put_aside(const std::string& path);
  void replace_beside(const std::string& path, const std::function<void()>& replace);
  void upload(const std::string& path);
  Attributes last_known(const std::string& path);

  RootedDrive& drive_;
  CacheFolder& cache_;

  std::shared_mutex content_lock_;
  std::optional<CacheFile> content_;
  Attributes on_drive_;                              // of the file that `content_` was taken from, or that it became
  std::chrono::steady_clock::time_point made_at_{};  // by a program here: then `on_drive_` tells of the empty file
  bool only_appended_ = false;  // all changes since then are appending writes, the first of them at `appended_at_`
  long long appended_at_ = 0;
  std::string newer_;               // where uploads go since others changed the file
  std::string aside_;               // where a removed file's content is on the drive
  bool is_lost_ = false;            // there was no room for it when it was removed
  unsigned long aside_number_ = 0;  // of its record in the journal

  mutable std::mutex state_lock_;  // of what follows; held for no longer than to look or to change it
  bool changed_ = false;           // since the last upload
  bool removed_ = false;           // from the drive
  bool diverted_ = false;          // `newer_` is set: what the drive says of the file is not of this content
  bool sets_accessed_ = false;     // a program chose the time
  Attributes seen_;                // while it is changed, removed or diverted
};

}  // namespace host
