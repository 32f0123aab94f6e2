#include "host/mount/node_table.h"

#include <algorithm>
#include <cerrno>

#include "host/client/paths.h"

namespace host {

std::uint64_t number_of_path(std::string_view path) {
  std::uint64_t number = 14695981039346656037U;
  for (const char c : path) number = (number ^ static_cast<unsigned char>(c)) * 1099511628211U;
  number ^= number >> 32;
  number *= 0x9E3779B97F4A7C15U;
  number ^= number >> 29;
  return number < 2 ? number + 2 : number;  // 0 and 1 mean something to some programs
}

bool NodeTable::chain_is_closed(const Node& node) {
  for (const Node* at = &node; at != nullptr; at = at->parent) {
    if (at->is_closed) return true;
  }
  return false;
}

bool NodeTable::is_at_or_below(const Node& node, const Node& top) {
  const Node* at = &node;
  while (at != nullptr && at != &top) at = at->parent;
  return at != nullptr;
}

std::string NodeTable::path_of(const Node& node) {
  if (node.is_removed) return {};
  if (node.parent == nullptr) return "/";
  std::size_t length = 0;
  for (const Node* at = &node; at->parent != nullptr; at = at->parent) {
    length += at->name.size() + 1;
    if (at->parent->is_removed) return {};
  }
  std::string path(length, '/');
  for (const Node* at = &node; at->parent != nullptr; at = at->parent) {
    length -= at->name.size();
    at->name.copy(&path[length], at->name.size());
    --length;
  }
  return path;
}

void NodeTable::change_held(Node& node, int by) {
  for (Node* at = &node; at != nullptr; at = at->parent) at->held += static_cast<unsigned>(by);
}

Node* NodeTable::child(Node& folder, const std::string& name) {
  const auto found = folder.children.find(name);
  return found == folder.children.end() ? nullptr : found->second;
}

NodeTable::Hold::Hold(NodeTable& table, Node& node) : table_(table), node_(&node) {
  std::unique_lock lock(table.lock_);
  ++table.waiting_;
  table.changed_.wait(lock, [&] { return !chain_is_closed(node); });
  --table.waiting_;
  path_ = path_of(node);
  change_held(node, 1);
}

NodeTable::Hold::Hold(NodeTable& table, Node& folder, std::string_view name) : Hold(table, folder) {
  if (path_.empty()) throw_errno(ENOENT, std::string(name));
  if (path_ != "/") path_ += '/';
  path_ += name;
}

NodeTable::Hold::~Hold() {
  std::vector<std::shared_ptr<OpenFile>> ended;
  const std::lock_guard lock(table_.lock_);
  change_held(*node_, -1);
  if (table_.waiting_ > 0) table_.changed_.notify_all();
  table_.drop_if_unused(node_, ended);
}

NodeTable::Change::Change(NodeTable& table, std::vector<Entry> entries)
    : table_(table), entries_(std::move(entries)) {
  std::unique_lock lock(table.lock_);
  ++table.waiting_;
  // All at once or nothing: what is closed here never waits for what others have closed.
  table.changed_.wait(lock, [&] {
    bool is_free = true;
    for (Entry& entry : entries_) {
      entry.node = child(entry.folder, entry.name);
      is_free = is_free && !chain_is_closed(entry.folder) && (entry.node == nullptr || !entry.node->is_closed);
    }
    return is_free;
  });
  for (const Entry& entry : entries_) {
    for (const Entry& other : entries_) {
      if (entry.node == nullptr || !is_at_or_below(other.folder, *entry.node)) continue;
      --table.waiting_;
      throw_errno(EINVAL, entry.name);
    }
  }
  for (Entry& entry : entries_) {
    entry.path = path_of(entry.folder);
    if (!entry.path.empty()) entry.path = below(entry.path, entry.name);
    if (entry.node != nullptr) entry.node->is_closed = true;
  }
  for (const Entry& entry : entries_) change_held(entry.folder, 1);
  table.changed_.wait(lock, [&] {
    bool is_alone = true;
    for (const Entry& entry : entries_) is_alone = is_alone && (entry.node == nullptr || entry.node->held == 0);
    return is_alone;
  });
  --table.waiting_;
}

NodeTable::Change::~Change() {
  std::vector<std::shared_ptr<OpenFile>> ended;
  const std::lock_guard lock(table_.lock_);
  for (const Entry& entry : entries_) {
    change_held(entry.folder, -1);
    if (entry.node != nullptr) entry.node->is_closed = false;
  }
  table_.changed_.notify_all();
  for (const Entry& entry : entries_) table_.drop_if_unused(entry.node, ended);
}

// Files that end are handed to the caller, to end them without the lock of the table.
void NodeTable::drop_if_unused(Node* node, std::vector<std::shared_ptr<OpenFile>>& ended) {
  while (node != nullptr && node != &root_ && node->handles == 0 && node->held == 0 && !node->is_closed) {
    if (node->file && !node->file->is_unsaved()) ended.push_back(std::exchange(node->file, nullptr));
    if (node->lookups > 0 || node->file || !node->children.empty()) return;
    Node* const parent = node->parent;
    parent != nullptr ? parent->children.erase(node->name) : removed_.erase(node);
    const std::unique_ptr<Node> dropped(node);
    node = parent;
  }
}

Node& NodeTable::enter(Node& folder, const std::string& name, const Attributes& entry, Moment asked_at) {
  const std::lock_guard lock(lock_);
  return enter_locked(folder, name, entry, asked_at);
}

NodeTable::Entered NodeTable::enter_listed(Node& folder, unsigned changes, const std::string& name,
                                           const Attributes& entry, Moment asked_at) {
  constexpr auto short_while = std::chrono::duration<double>(seconds_to_remember / 2);
  const std::lock_guard lock(lock_);
  if (folder.changes != changes) return {};
  if (const Node* const known = child(folder, name)) {
    const bool is_outdated = known->asked_at > asked_at || known->changed_at > asked_at;
    const bool is_told = known->last == entry && asked_at - known->asked_at < short_while && !known->file;
    if (is_outdated || is_told) return {};
  }
  Node& node = enter_locked(folder, name, entry, asked_at);
  return {&node, node.file};
}

Node& NodeTable::enter_locked(Node& folder, const std::string& name, const Attributes& entry, Moment asked_at) {
  Node* node = child(folder, name);
  if (node != nullptr && node->is_directory != entry.directory) {
    detach_locked(*node);
    node = nullptr;
  }
  if (node == nullptr) {
    auto made = std::make_unique<Node>();
    made->parent = &folder;
    made->name = name;
    made->is_directory = entry.directory;
    node = made.get();
    folder.children.emplace(node->name, node);
    made.release();  // NOLINT(bugprone-unused-return-value): the table's from here on
  }
  ++node->lookups;
  remember_locked(*node, entry, asked_at);
  return *node;
}

void NodeTable::forget(Node& node, unsigned long lookups) {
  std::vector<std::shared_ptr<OpenFile>> ended;
  const std::lock_guard lock(lock_);
  node.lookups -= lookups;
  drop_if_unused(&node, ended);
}

std::shared_ptr<OpenFile> NodeTable::file_below(Node& folder, const std::string& name) {
  const std::lock_guard lock(lock_);
  const Node* const node = child(folder, name);
  return node == nullptr ? nullptr : node->file;
}

std::shared_ptr<OpenFile> NodeTable::open(Node& node, bool reads) {
  const std::lock_guard lock(lock_);
  if (!node.file) node.file = make_file_();
  ++node.handles;
  if (reads) ++node.readers;
  return node.file;
}

void NodeTable::close(Node& node, bool reads) {
  std::vector<std::shared_ptr<OpenFile>> ended;
  const std::lock_guard lock(lock_);
  --node.handles;
  if (reads) --node.readers;
  drop_if_unused(&node, ended);
}

void NodeTable::detach_locked(Node& node) {
  removed_.insert(&node);
  for (unsigned i = 0; i < node.held; ++i) change_held(*node.parent, -1);  // what rests on it rests on it alone now
  node.parent->children.erase(node.name);
  node.parent = nullptr;
  node.is_removed = true;
}

void NodeTable::detach(Node& node, std::uint64_t number, const std::string& replaced_at) {
  const std::lock_guard lock(lock_);
  node.replaced_at = replaced_at;
  node.removed_number = number;
  detach_locked(node);
}

NodeTable::Known NodeTable::successor(const Node& node) {
  Known none(nullptr, {this});
  const std::lock_guard lock(lock_);
  if (node.replaced_at.empty() || (node.file && node.file->is_removed())) return none;
  Node* at = &root_;
  for (std::size_t from = 1; at != nullptr && from <= node.replaced_at.size();) {
    const std::size_t end = std::min(node.replaced_at.find('/', from), node.replaced_at.size());
    at = child(*at, node.replaced_at.substr(from, end - from));
    from = end + 1;
  }
  if (at == nullptr || at->is_directory) return none;
  ++at->lookups;
  return Known(at, {this});
}

void NodeTable::move(Node& node, Node& folder, const std::string& name) {
  const std::lock_guard lock(lock_);
  node.parent->children.erase(node.name);
  node.parent = &folder;
  node.name = name;
  folder.children.emplace(node.name, &node);
}

void NodeTable::ask_again(Node& node) {
  const std::lock_guard lock(lock_);
  node.asked_at = {};
  node.changed_at = moment_now();
}

void NodeTable::remember_locked(Node& node, const Attributes& now, Moment asked_at) {
  node.last = now;
  node.asked_at = asked_at > node.changed_at ? asked_at : Moment();
}

void NodeTable::remember(Node& node, const Attributes& now, Moment asked_at) {
  const std::lock_guard lock(lock_);
  remember_locked(node, now, asked_at);
}

void NodeTable::count_change(Node& folder) {
  const std::lock_guard lock(lock_);
  ++folder.changes;
  folder.kept_since = 0;
  folder.asked_at = {};
  folder.changed_at = moment_now();
}

std::vector<NodeTable::OpenEntry> NodeTable::files_at_or_below(Node& top) {
  std::vector<OpenEntry> files;
  std::vector<Node*> left{&top};
  const std::lock_guard lock(lock_);
  while (!left.empty()) {
    Node* const node = left.back();
    left.pop_back();
    if (node->file && !node->is_removed) files.push_back({node, path_of(*node), node->file});
    for (const auto& [name, below_it] : node->children) left.push_back(below_it);
  }
  return files;
}

NodeTable::~NodeTable() {
  std::vector<Node*> left(removed_.begin(), removed_.end());
  left.reserve(left.size() + root_.children.size());
  for (const auto& [name, node] : root_.children) left.push_back(node);
  while (!left.empty()) {
    const std::unique_ptr<Node> node(left.back());
    left.pop_back();
    for (const auto& [name, below_it] : node->children) left.push_back(below_it);
  }
}

}  // namespace host
