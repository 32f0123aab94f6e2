// What programs do on the drive, on the nodes by which the kernel names files. Knows nothing of libfuse.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/mount/cache.h"
#include "host/mount/node_table.h"
#include "host/mount/rooted_drive.h"

namespace host {

// A file or folder as the kernel is told of it.
struct Described {
  Node* node;
  Attributes attributes;
  std::uint64_t number;
  bool is_removed;
  double seconds_left = seconds_to_remember;  // for which it may be remembered
};

// A file that a program has open.
struct FileHandle {
  Node& node;
  std::shared_ptr<OpenFile> file;
  bool reads, writes;
  bool keeps_pages = false;  // what the kernel keeps of the content is still right
  // The file that was asked for was replaced a moment before, and this is what has its place: what the kernel keeps
  // is of another file.
  bool is_successor = false;

  // Small content that was read when the file was opened: the first request for it needs no other look at the drive.
  struct Ahead {
    std::mutex lock;
    std::string content;
    bool is_fresh = false;
  };
  std::unique_ptr<Ahead> ahead{};
};

// A folder that a program lists.
struct FolderHandle {
  Node& node;
  struct Entry {
    std::string name;
    Attributes attributes;
  };
  std::vector<Entry> entries{};
  bool is_read = false;
  unsigned changes = 0;  // of the folder when it was read
  Moment read_at{};
  std::string path{};
};

// Failures are thrown: errno_of tells them apart. Operations may run at once.
class DriveFiles {
 public:
  DriveFiles(RootedDrive& drive, CacheFolder& cache);

  NodeTable& table() { return table_; }

  // Each answer about an entry is one lookup, for the kernel to forget.
  std::optional<Described> lookup(Node& folder, const std::string& name);
  Described make_folder(Node& folder, const std::string& name);
  Described make_file(Node& folder, const std::string& name);
  struct Created {
    Described entry;
    std::unique_ptr<FileHandle> handle;
  };
  Created create(Node& folder, const std::string& name, int flags);

  Described attributes(Node& node);
  void resize(Node& node, const FileHandle* handle, long long size);  // without a handle it is uploaded at once
  void set_times(Node& node, const NewTimes& times);

  std::unique_ptr<FileHandle> open(Node& node, int flags);
  // When `take` is called, the handle is not used any more: who gets the content may close it.
  void read(FileHandle& handle, std::span<char> room, long long offset, const RootedDrive::Take& take);
  void write(FileHandle& handle, std::span<const char> data, long long offset, bool appends);
  void flush(FileHandle& handle);
  void close(std::unique_ptr<FileHandle> handle);  // what can't be uploaded stays here, and is tried again

  std::unique_ptr<FolderHandle> open_folder(Node& node);
  // Whether what the kernel keeps of the listing is still right: where its time of change is.
  bool keeps_listing(Node& node);
  void read_folder(FolderHandle& handle);
  // Shows the entries of the listing from the one with the number `first` on, until `show` answers false. With its
  // node comes an entry that the kernel may take for looked up: not where what was listed may be older than what was
  // done since, and not where the kernel knows as much.
  using Show = std::function<bool(std::size_t number, const FolderHandle::Entry& entry, const Described* described)>;
  void each_entry(FolderHandle& handle, std::size_t first, const Show& show);

  void remove_file(Node& folder, const std::string& name);
  void remove_folder(Node& folder, const std::string& name);
  void rename(Node& folder, const std::string& name, Node& new_folder, const std::string& new_name, bool replaces);

  std::optional<Quota> volume() { return drive_.volume(); }

  struct Rescued {
    std::string path, reason;
    std::filesystem::path kept;
  };
  // Uploads what is changed, and keeps for the user what the drive does not take.
  std::vector<Rescued> flush_all();

 private:
  Described enter(Node& folder, const std::string& name, const std::string& path, const Attributes& entry,
                  Moment asked_at);
  std::unique_ptr<FileHandle> open_held(Node& node, const std::string& path, int flags, bool is_successor = false);
  std::unique_ptr<FileHandle> open_made(Node& node, const Attributes& made, int flags);
  void prepare_reading(FileHandle& handle, const std::string& path);
  std::uint64_t number_of_removed(const std::string& path);

  RootedDrive& drive_;
  CacheFolder& cache_;
  NodeTable table_;
  std::atomic<unsigned long> removed_ = 0;
};

}  // namespace host
