// What the kernel knows of the drive: a tree of nodes, each a file or folder that it has looked up and not forgotten.
//
// A node stays while the kernel knows it, while it is open, while something is below it and while its content is only
// here. What was removed keeps its node until then, without a place.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/mount/open_file.h"

namespace host {

using Moment = std::chrono::steady_clock::time_point;
inline Moment moment_now() { return std::chrono::steady_clock::now(); }

struct Node {
  // All of it is under the lock of the table.
  Node* parent = nullptr;  // none for the root and for what was removed
  std::string name;
  std::unordered_map<std::string_view, Node*> children;  // by their own names
  std::shared_ptr<OpenFile> file;
  unsigned long lookups = 0;          // that the kernel has to forget
  unsigned handles = 0, readers = 0;  // open ones, and those of them that can read
  unsigned held = 0;                  // operations that rest on its place, here or below
  bool is_closed = false;             // to new ones: its place changes
  bool is_directory = false, is_removed = false;
  std::string replaced_at;           // removed, too: another has this path, its own, from that moment on
  std::uint64_t removed_number = 0;  // its inode number since then
  unsigned changes = 0;              // of a folder's entries, through the drive
  // What the drive said of it last, and what the kernel may keep of its content.
  Attributes last;
  Moment asked_at{};      // no time at all where it doesn't hold any more
  Moment changed_at{};    // through the drive: an answer to a question from before says nothing
  time_t kept_since = 0;  // nothing that the kernel keeps of it is older
};

// The inode number of what is at a path: the same in every mount.
std::uint64_t number_of_path(std::string_view path);

class NodeTable {
 public:
  // `make_file` makes the content of a node that is opened.
  explicit NodeTable(std::function<std::shared_ptr<OpenFile>()> make_file) : make_file_(std::move(make_file)) {}
  ~NodeTable();
  NodeTable(const NodeTable&) = delete;
  NodeTable& operator=(const NodeTable&) = delete;

  Node& root() { return root_; }

  // Keeps a node and all above it where they are.
  class Hold {
   public:
    Hold(NodeTable& table, Node& node);                           // waits while its place changes
    Hold(NodeTable& table, Node& folder, std::string_view name);  // of an entry; fails where the folder was removed
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    [[nodiscard]] const std::string& path() const { return path_; }  // empty for what was removed

   private:
    NodeTable& table_;
    Node* node_;
    std::string path_;
  };

  // Keeps everyone away from one entry or two, of which any may be missing, while their places change.
  struct Entry {
    Node& folder;
    std::string name;
    Node* node = nullptr;
    std::string path{};
  };
  class Change {
   public:
    Change(NodeTable& table, std::vector<Entry> entries);  // waits for all that rests on them
    ~Change();
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    [[nodiscard]] const Entry& operator[](std::size_t i) const { return entries_[i]; }

   private:
    NodeTable& table_;
    std::vector<Entry> entries_;
  };

  // One more lookup of the entry, of which the drive was asked at `asked_at`. What was there before as another kind
  // of thing counts as removed.
  Node& enter(Node& folder, const std::string& name, const Attributes& entry, Moment asked_at);
  // The same for an entry of a listing. Answers null where there is newer knowledge of it or of the folder's entries,
  // and where the kernel has been told the same a short while ago.
  struct Entered {
    Node* node = nullptr;
    std::shared_ptr<OpenFile> file{};
  };
  Entered enter_listed(Node& folder, unsigned changes, const std::string& name, const Attributes& entry,
                       Moment asked_at);
  void forget(Node& node, unsigned long lookups);
  // The open content of an entry, or null.
  std::shared_ptr<OpenFile> file_below(Node& folder, const std::string& name);

  std::shared_ptr<OpenFile> open(Node& node, bool reads);
  void close(Node& node, bool reads);

  // What has the path of a replaced node now, or null: where that isn't known, and where programs that have the
  // replaced file open keep its content. It is one more lookup, which goes with the answer.
  struct Forget {
    NodeTable* table;
    void operator()(Node* node) const { table->forget(*node, 1); }
  };
  using Known = std::unique_ptr<Node, Forget>;
  Known successor(const Node& node);

  // These want a Change of what they are about. What is detached was removed, or replaced by what has its path now.
  void detach(Node& node, std::uint64_t number, const std::string& replaced_at = {});
  void move(Node& node, Node& folder, const std::string& name);

  void remember(Node& node, const Attributes& now, Moment asked_at);
  // What was said of the node last doesn't hold any more: the next question goes to the drive.
  void ask_again(Node& node);
  void count_change(Node& folder);

  template <class Body>
  auto locked(Body&& body) {
    const std::lock_guard lock(lock_);
    return body();
  }

  struct OpenEntry {
    Node* node;
    std::string path;
    std::shared_ptr<OpenFile> file;
  };
  std::vector<OpenEntry> files_at_or_below(Node& node);

 private:
  [[nodiscard]] static bool chain_is_closed(const Node& node);
  [[nodiscard]] static bool is_at_or_below(const Node& node, const Node& top);
  static std::string path_of(const Node& node);
  static void change_held(Node& node, int by);
  static Node* child(Node& folder, const std::string& name);
  Node& enter_locked(Node& folder, const std::string& name, const Attributes& entry, Moment asked_at);
  static void remember_locked(Node& node, const Attributes& now, Moment asked_at);
  void drop_if_unused(Node* node, std::vector<std::shared_ptr<OpenFile>>& ended);
  void detach_locked(Node& node);

  std::function<std::shared_ptr<OpenFile>()> make_file_;
  std::mutex lock_;  // held for no longer than to look or to change
  std::condition_variable changed_;
  unsigned waiting_ = 0;
  Node root_;
  std::unordered_set<Node*> removed_;  // nodes without a place, which nothing else leads to
};

}  // namespace host
