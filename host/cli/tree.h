// The two sides between which files are copied, this machine and the drive, as one interface, so that what walks,
// compares and removes is written once.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "host/client/drive.h"
#include "host/client/module.h"

namespace host {

enum class Kind { file, folder, folder_link, other };

struct Entry {
  std::string name;
  Kind kind = Kind::file;
  const char* what = "";  // of what is neither file nor folder: "a pipe"
  long long size = 0;
  time_t modified = -1;
  std::string record_time;  // as the drive's record has it; empty on this machine, and where a module tells none
};

inline bool is_folder(const Entry& entry) { return entry.kind == Kind::folder || entry.kind == Kind::folder_link; }

using FileIdentity = std::pair<dev_t, ino_t>;

// Paths are absolute. What fails throws OperationError, std::system_error or CommandError.
class Tree {
 public:
  using Visit = std::function<void(const Entry&)>;
  virtual ~Tree() = default;

  // All entries of a folder, or an exception where it can't be read whole.
  virtual void list(const std::string& folder, const Visit& visit) = 0;
  // The entry at a path: of a link to a file what it leads to. Nothing only where there is certainly no entry.
  virtual std::optional<Entry> find(const std::string& path) = 0;
  // The same where there must be one: where there is none, an exception says why.
  virtual Entry examine(const std::string& path) = 0;
  virtual void make_folder(const std::string& path) = 0;
  virtual void set_modified(const std::string& path, time_t modified) = 0;
  virtual void move(const std::string& from, const std::string& to, const Entry& entry) = 0;
  // A file, an empty folder, or a link, of which what it leads to stays.
  virtual void remove(const std::string& path, const Entry& entry) = 0;
  // Whether paths are those of this machine, so that both sides can meet in one file.
  [[nodiscard]] virtual bool is_local() const = 0;
  // What tells a file of this machine from every other; links are followed.
  [[nodiscard]] std::optional<FileIdentity> identity(const std::string& path) const;
};

class LocalTree final : public Tree {
 public:
  void list(const std::string& folder, const Visit& visit) override;
  std::optional<Entry> find(const std::string& path) override;
  Entry examine(const std::string& path) override;
  void make_folder(const std::string& path) override;
  void set_modified(const std::string& path, time_t modified) override;
  void move(const std::string& from, const std::string& to, const Entry& entry) override;
  void remove(const std::string& path, const Entry& entry) override;
  [[nodiscard]] bool is_local() const override { return true; }
};

class DriveTree final : public Tree {
 public:
  // Of the protocol of this machine's disk, what records don't tell is looked up here: links, pipes, devices.
  DriveTree(const Module& module, Drive& drive) : drive_(drive), local_(module.protocol() == "localdisk") {}

  void list(const std::string& folder, const Visit& visit) override;
  std::optional<Entry> find(const std::string& path) override;
  Entry examine(const std::string& path) override;
  void make_folder(const std::string& path) override;
  void set_modified(const std::string& path, time_t modified) override;
  void move(const std::string& from, const std::string& to, const Entry& entry) override;
  void remove(const std::string& path, const Entry& entry) override;
  [[nodiscard]] bool is_local() const override { return local_; }

 private:
  Entry entry_of(const _FS_FILE_V2& file, const std::string& path);
  [[noreturn]] void throw_why_nothing_can_be_made(const std::string& path);

  Drive& drive_;
  bool local_;
};

// A short name that no other entry has, for what isn't whole yet.
std::string temporary_name();

}  // namespace host
