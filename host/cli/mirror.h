// Folders with all that is in them, from one side to the other: for get, put and sync.
#pragma once

#include <string>
#include <vector>

#include "host/cli/transfer.h"
#include "host/cli/walk.h"

namespace host {

enum class Direction { up, down };  // to the drive, from the drive

struct MirrorRules {
  bool only_differing = false;        // copies what differs in size or modification time; else all
  bool compare_content = false;       // and what differs in content
  bool dry_run = false;               // names what would be done
  bool deletes = false;               // removes from the target what the source has not
  std::vector<std::string> excluded;  // expressions; names that match don't exist for either side
};

struct MirrorCounts {
  long long copied = 0, bytes = 0, unchanged = 0, folders = 0, deleted = 0;
};

// Throws CommandError where both paths are the same file of this machine, or where the source is a folder in which
// the target lies.
void expect_apart(const Tree& source, const std::string& from, bool folder, const Tree& target,
                  const std::string& to);

class Mirror {
 public:
  Mirror(const Session& session, Direction direction, MirrorRules rules = {});

  Tree& source() { return direction_ == Direction::up ? static_cast<Tree&>(local_) : drive_; }
  Tree& target() { return direction_ == Direction::up ? static_cast<Tree&>(drive_) : local_; }
  Transfer& transfer() { return transfer_; }

  // Tells the report how much there is to copy, where it shows that.
  void expect(const std::string& typed);
  // Each entry that fails is told and counted by the session's report.
  void copy(const std::string& from, const Entry& entry, const std::string& to);
  // copy, and then deletes what the rules say: nothing if anything failed before.
  void synchronise(const std::string& from, const Entry& folder, const std::string& to);

  [[nodiscard]] const MirrorCounts& counts() const { return counts_; }

 private:
  [[nodiscard]] bool is_excluded(const Entry& entry) const;
  long long measure(const std::string& from, const Entry& entry);
  bool is_same(const std::string& from, const Entry& file, const std::string& to, const Entry& there);
  void copy_folder(const std::string& from, const Entry& folder, const std::string& to);
  void copy_file(const std::string& from, const Entry& file, const std::string& to);
  void delete_gone(const std::string& from, const std::string& to);
  void remove(const std::string& path, const Entry& entry);

  const Session& session_;
  Direction direction_;
  MirrorRules rules_;
  LocalTree local_;
  DriveTree drive_;
  Transfer transfer_;
  Walk source_walk_, target_walk_;
  MirrorCounts counts_;
  bool in_the_way_ = false;  // a file stands for a folder or the other way round, which deleting will solve
};

}  // namespace host
