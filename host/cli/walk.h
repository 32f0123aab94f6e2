// Walks through folders of any size and depth with bounded memory and without a folder held open.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/cli/report.h"
#include "host/cli/tree.h"

namespace host {

// A stack of bytes: in memory while it is small, in a temporary file beyond.
class Spool {
 public:
  [[nodiscard]] long long size() const { return size_; }
  void append(std::string_view bytes);
  [[nodiscard]] std::string read(long long from, std::size_t count);
  void cut(long long size);

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  static constexpr long long most_in_memory = 1 << 20;

  std::string memory_;
  std::unique_ptr<std::FILE, Close> file_;
  long long size_ = 0, position_ = -1;  // of the file while it is written to; -1 otherwise
};

class Walk {
 public:
  explicit Walk(Tree& tree) : tree_(tree) {}
  // Lists the folder whole, and calls `visit` for each entry then: it may change the folder, and walk itself.
  void each(const std::string& folder, const Tree::Visit& visit);
  [[nodiscard]] Tree& tree() { return tree_; }

 private:
  Tree& tree_;
  Spool entries_;
};

// Removes what stands at a path, of links never what they lead to.
class Removal {
 public:
  // What is excluded stays, and with it the folders that it is in.
  using Exclusion = std::function<bool(const Entry& entry)>;
  // Hears of each entry that is gone; of each that would be in a dry run, which removes nothing.
  using Notice = std::function<void(const std::string& path)>;
  Removal(Tree& tree, Report& report) : walk_(tree), report_(report) {}
  Removal(Tree& tree, Report& report, Exclusion is_excluded, Notice removed, bool dry_run)
      : walk_(tree),
        report_(report),
        is_excluded_(std::move(is_excluded)),
        removed_(std::move(removed)),
        dry_run_(dry_run) {}
  // False where something of it stays: it failed and that was told, or it is excluded.
  bool remove(const std::string& path, const Entry& entry);

 private:
  bool remove_content(const std::string& folder);
  bool remove_below(const std::string& path, const Entry& entry);
  bool remove_itself(const std::string& path, const Entry& entry);

  Walk walk_;
  Report& report_;
  Exclusion is_excluded_;
  Notice removed_;
  bool dry_run_ = false;
  std::string top_;
  std::vector<std::string> lifted_;  // folders too deep for a path, moved up to the top
};

}  // namespace host
