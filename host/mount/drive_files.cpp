#include "host/mount/drive_files.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "host/client/paths.h"
#include "host/mount/messages.h"

namespace host {
namespace {

using Hold = NodeTable::Hold;

// Of an answer to a question that was asked then.
double seconds_left(Moment asked_at, Moment now) {
  return asked_at == Moment() ? 0 : seconds_to_remember - std::chrono::duration<double>(now - asked_at).count();
}

// For ESTALE the kernel looks for the name again, and finds what has it now.
[[noreturn]] void throw_gone(NodeTable& table, const Node& node) {
  throw_errno(table.locked([&] { return !node.replaced_at.empty(); }) ? ESTALE : ENOENT, node.name);
}

// Calls `body` with the node and its path, or with what has replaced it. Between looking for a name and opening what
// it stands for others may replace it, again and again: where the kernel is told so, it looks for the name once more,
// and the second time it tells the program.
template <class Body>
auto at_its_place(NodeTable& table, Node& node, const Body& body) -> decltype(body(node, std::string())) {
  NodeTable::Known successor(nullptr, {&table});
  {
    const Hold hold(table, node);
    if (hold.path().empty()) successor = table.successor(node);
    if (!successor) return body(node, hold.path());
  }
  return at_its_place(table, *successor, body);
}

}  // namespace

DriveFiles::DriveFiles(RootedDrive& drive, CacheFolder& cache)
    : drive_(drive), cache_(cache), table_([this] { return std::make_shared<OpenFile>(drive_, cache_); }) {
  table_.root().is_directory = true;
}

Described DriveFiles::enter(Node& folder, const std::string& name, const std::string& path, const Attributes& entry,
                            Moment asked_at) {
  return {&table_.enter(folder, name, entry, asked_at), entry, number_of_path(path), false};
}

std::optional<Described> DriveFiles::lookup(Node& folder, const std::string& name) {
  const Hold hold(table_, folder, name);
  const Moment asked_at = moment_now();
  const std::shared_ptr<OpenFile> file = table_.file_below(folder, name);
  std::optional<Attributes> found = file ? file->cached_attributes() : std::nullopt;
  if (!found) found = drive_.find(hold.path());
  if (!found) return std::nullopt;
  return enter(folder, name, hold.path(), *found, asked_at);
}

Described DriveFiles::make_folder(Node& folder, const std::string& name) {
  const Hold hold(table_, folder, name);
  const Moment asked_at = moment_now();
  const Attributes made = drive_.create_directory(hold.path());
  table_.count_change(folder);
  return enter(folder, name, hold.path(), made, asked_at);
}

Described DriveFiles::make_file(Node& folder, const std::string& name) {
  const Hold hold(table_, folder, name);
  if (drive_.find(hold.path())) throw_errno(EEXIST, hold.path());
  const Moment asked_at = moment_now();
  const Attributes made = drive_.create_file(hold.path());
  table_.count_change(folder);
  return enter(folder, name, hold.path(), made, asked_at);
}

// On the drive at once, where others see that the name is taken.
DriveFiles::Created DriveFiles::create(Node& folder, const std::string& name, int flags) {
  const Hold hold(table_, folder, name);
  const Moment asked_at = moment_now();
  const std::shared_ptr<OpenFile> known = table_.file_below(folder, name);
  std::optional<Attributes> found = known ? known->cached_attributes() : std::nullopt;
  if (!found) found = drive_.find(hold.path());
  if (found && (flags & O_EXCL) != 0) throw_errno(EEXIST, hold.path());
  const bool is_new = !found;
  if (is_new) {
    found = drive_.create_file(hold.path());
    table_.count_change(folder);
  }
  const Described entry = enter(folder, name, hold.path(), *found, asked_at);
  try {
    return {entry, is_new ? open_made(*entry.node, *found, flags) : open_held(*entry.node, hold.path(), flags)};
  } catch (...) {
    table_.forget(*entry.node, 1);
    throw;
  }
}

Described DriveFiles::attributes(Node& node) {
  const Hold hold(table_, node);
  const Moment asked_now = moment_now();
  const auto [file, last, asked_at, removed_number] =
      table_.locked([&] { return std::tuple(node.file, node.last, node.asked_at, node.removed_number); });
  const bool is_removed = hold.path().empty();
  std::optional<Attributes> now = file ? file->cached_attributes() : std::nullopt;
  if (is_removed) return {&node, now.value_or(last), removed_number, is_removed};
  const std::uint64_t number = number_of_path(hold.path());
  const double left = seconds_left(asked_at, asked_now);
  if (!now && left > 0) return {&node, last, number, is_removed, left};
  if (!now) {
    now = drive_.attributes(hold.path());
    table_.remember(node, *now, asked_now);
  }
  return {&node, *now, number, is_removed};
}

void DriveFiles::resize(Node& node, const FileHandle* handle, long long size) {
  if (handle != nullptr) {
    const Hold hold(table_, handle->node);
    table_.ask_again(handle->node);
    return handle->file->resize(hold.path(), size);
  }
  at_its_place(table_, node, [&](Node& now, const std::string& path) {
    table_.ask_again(now);  // and after it, for others may ask meanwhile
    const std::unique_ptr<FileHandle> opened = open_held(now, path, O_WRONLY);
    try {
      opened->file->resize(path, size);
      opened->file->flush(path);
    } catch (...) {
      table_.close(now, /*reads=*/false);
      throw;
    }
    table_.close(now, /*reads=*/false);
    table_.ask_again(now);
  });
}

void DriveFiles::set_times(Node& node, const NewTimes& times) {
  at_its_place(table_, node, [&](Node& now, const std::string& path) {
    const std::shared_ptr<OpenFile> file = table_.locked([&] { return now.file; });
    if (!file && path.empty()) throw_gone(table_, now);
    file ? file->set_times(path, times) : drive_.set_times(path, times);
    table_.ask_again(now);
  });
}

// What was just made is an ordinary file without content: nothing has to be asked.
std::unique_ptr<FileHandle> DriveFiles::open_made(Node& node, const Attributes& made, int flags) {
  const bool reads = (flags & O_ACCMODE) != O_WRONLY;
  auto handle = std::make_unique<FileHandle>(FileHandle{node, table_.open(node, reads), reads, /*writes=*/true});
  handle->file->start_made(made);
  return handle;
}

std::unique_ptr<FileHandle> DriveFiles::open(Node& node, int flags) {
  return at_its_place(table_, node, [&](Node& now, const std::string& path) {
    return open_held(now, path, flags, /*is_successor=*/&now != &node);
  });
}

std::unique_ptr<FileHandle> DriveFiles::open_held(Node& node, const std::string& path, int flags, bool is_successor) {
  const bool truncates = (flags & O_TRUNC) != 0;
  const bool reads = (flags & O_ACCMODE) != O_WRONLY;
  const bool writes = (flags & O_ACCMODE) != O_RDONLY || truncates;
  auto handle = std::make_unique<FileHandle>(FileHandle{node, table_.open(node, reads), reads, writes});
  handle->is_successor = is_successor;
  try {
    const bool is_gone = path.empty() && !handle->file->is_removed();
    if (is_gone && !truncates) throw_gone(table_, node);
    if (is_gone) {
      handle->file->start_removed();
    } else if (!handle->file->is_cached()) {
      if (reads && !truncates) {
        prepare_reading(*handle, path);
      } else {
        drive_.expect_ordinary(path, table_.locked([&] { return node.last; }));
      }
    }
    if (truncates && !is_gone) handle->file->resize(path, 0);
  } catch (...) {
    table_.close(node, reads);
    throw;
  }
  return handle;
}

// What the kernel has kept is right where nothing was changed since: by times of whole seconds that can be told only
// of changes that were a while old when it began to keep it.
void DriveFiles::prepare_reading(FileHandle& handle, const std::string& path) {
  constexpr long long small_content = 1 << 17;
  constexpr time_t in_doubt = 2;
  const auto now = moment_now();
  auto [file, asked_at, kept_since] =
      table_.locked([&] { return std::tuple(handle.node.last, handle.node.asked_at, handle.node.kept_since); });
  if (seconds_left(asked_at, now) <= 0) {
    file = drive_.attributes(path);
    table_.remember(handle.node, file, now);
  }
  if (!handle.is_successor) {
    handle.keeps_pages = std::max(file.changed, file.modified) + in_doubt <= kept_since;
    if (handle.keeps_pages) return;
    const time_t since = ::time(nullptr);
    table_.locked([&] { handle.node.kept_since = since; });
  }
  if (file.directory || file.size == 0 || file.size > small_content) return drive_.expect_readable(path, file);
  handle.ahead = std::make_unique<FileHandle::Ahead>();
  std::string& content = handle.ahead->content;
  content.resize(static_cast<std::size_t>(file.size));
  drive_.read(path, 0, content, [&](std::span<const char> got) {
    handle.ahead->is_fresh = got.size() == content.size();
    if (handle.ahead->is_fresh) std::copy(got.begin(), got.end(), content.begin());
  });
}

void DriveFiles::read(FileHandle& handle, std::span<char> room, long long offset, const RootedDrive::Take& take) {
  if (handle.ahead && offset == 0 && !handle.file->is_cached()) {
    std::unique_lock lock(handle.ahead->lock);
    if (std::exchange(handle.ahead->is_fresh, false) && handle.ahead->content.size() <= room.size()) {
      const std::string content = std::move(handle.ahead->content);
      lock.unlock();
      return take(content);
    }
  }
  const Hold hold(table_, handle.node);
  const std::shared_ptr<OpenFile> file = handle.file;
  file->read(hold.path(), room, offset, take);
}

void DriveFiles::write(FileHandle& handle, std::span<const char> data, long long offset, bool appends) {
  const Hold hold(table_, handle.node);
  if (handle.ahead) {
    const std::lock_guard lock(handle.ahead->lock);
    handle.ahead->is_fresh = false;
  }
  table_.ask_again(handle.node);
  appends ? static_cast<void>(handle.file->append(hold.path(), data)) : handle.file->write(hold.path(), data, offset);
}

void DriveFiles::flush(FileHandle& handle) {
  const Hold hold(table_, handle.node);
  handle.file->flush(hold.path());
  table_.ask_again(handle.node);
}

void DriveFiles::close(std::unique_ptr<FileHandle> handle) {
  try {
    if (handle->file->is_unsaved()) flush(*handle);
  } catch (const std::exception& error) {
    tell(fmt::format("a changed file stays in the cache: {}", error.what()));
  }
  handle->file.reset();
  table_.close(handle->node, handle->reads);
}

std::unique_ptr<FolderHandle> DriveFiles::open_folder(Node& node) {
  return std::make_unique<FolderHandle>(FolderHandle{node});
}

bool DriveFiles::keeps_listing(Node& node) {
  constexpr time_t in_doubt = 2;
  const auto [last, kept_since] = table_.locked([&] { return std::pair(node.last, node.kept_since); });
  return std::max(last.modified, last.changed) + in_doubt <= kept_since;
}

void DriveFiles::read_folder(FolderHandle& handle) {
  const Hold hold(table_, handle.node);
  if (hold.path().empty()) throw_errno(ENOENT, handle.node.name);
  handle.entries.clear();
  handle.path = hold.path();
  handle.read_at = moment_now();
  const time_t since = ::time(nullptr);
  handle.changes = table_.locked([&] { return handle.node.changes; });
  drive_.list(hold.path(), [&](const std::string& name, const Attributes& entry) {
    handle.entries.push_back({name, entry});
  });
  handle.is_read = true;
  table_.locked([&] {
    if (handle.node.changes == handle.changes) handle.node.kept_since = since;
  });
}

void DriveFiles::each_entry(FolderHandle& handle, std::size_t first, const Show& show) {
  const Hold hold(table_, handle.node);
  const double left = hold.path().empty() ? 0 : seconds_left(handle.read_at, moment_now());
  for (std::size_t i = first; i < handle.entries.size(); ++i) {
    const FolderHandle::Entry& entry = handle.entries[i];
    NodeTable::Entered entered;
    if (left > 0) {
      entered = table_.enter_listed(handle.node, handle.changes, entry.name, entry.attributes, handle.read_at);
    }
    if (entered.node == nullptr) {
      if (!show(i, entry, nullptr)) return;
      continue;
    }
    const std::optional<Attributes> cached = entered.file ? entered.file->cached_attributes() : std::nullopt;
    const Described described{entered.node, cached.value_or(entry.attributes),
                              number_of_path(below(hold.path(), entry.name)), false, left};
    if (show(i, entry, &described)) continue;
    return table_.forget(*entered.node, 1);
  }
}

std::uint64_t DriveFiles::number_of_removed(const std::string& path) {
  return number_of_path(fmt::format("{}/removed/{}", path, ++removed_));
}

void DriveFiles::remove_file(Node& folder, const std::string& name) {
  const NodeTable::Change change(table_, {{folder, name}});
  const auto& [parent, own_name, node, path] = change[0];
  if (path.empty()) throw_errno(ENOENT, name);
  const auto [file, readers] = node == nullptr ? std::pair(std::shared_ptr<OpenFile>(), 0U)
                                               : table_.locked([&] { return std::pair(node->file, node->readers); });
  file ? file->remove(path, readers > 0) : drive_.remove_file(path);
  if (node != nullptr) table_.detach(*node, number_of_removed(path));
  table_.count_change(folder);
}

void DriveFiles::remove_folder(Node& folder, const std::string& name) {
  const NodeTable::Change change(table_, {{folder, name}});
  const auto& [parent, own_name, node, path] = change[0];
  if (path.empty()) throw_errno(ENOENT, name);
  if (node != nullptr) {
    for (const auto& below_it : table_.files_at_or_below(*node)) {
      if (below_it.file->is_unsaved()) throw_errno(ENOTEMPTY, path);  // kept here alone
    }
  }
  drive_.remove_directory(path);
  if (node != nullptr) table_.detach(*node, number_of_removed(path));
  table_.count_change(folder);
}

void DriveFiles::rename(Node& folder, const std::string& name, Node& new_folder, const std::string& new_name,
                        bool replaces) {
  const NodeTable::Change change(table_, {{folder, name}, {new_folder, new_name}});
  Node* const node = change[0].node;
  Node* const replaced = change[1].node;
  const std::string &from = change[0].path, &to = change[1].path;
  if (from.empty() || to.empty()) throw_errno(ENOENT, new_name);
  if (from == to) return;
  if (!replaces && drive_.find(to)) throw_errno(EEXIST, to);
  const auto file_of = [&](Node* one) { return one == nullptr ? nullptr : table_.locked([&] { return one->file; }); };
  // Not before it is on the drive: what it replaces would be lost with it.
  if (const auto file = file_of(node)) file->flush(from);
  const bool is_directory = node != nullptr ? node->is_directory : drive_.attributes(from).directory;
  const Moment asked_at = moment_now();
  Attributes moved;
  const auto move = [&] { moved = drive_.move(from, to, is_directory); };
  const auto target = file_of(replaced);
  target ? target->be_replaced(to, table_.locked([&] { return replaced->readers; }) > 0, move) : move();

  if (replaced != nullptr) table_.detach(*replaced, number_of_removed(to), to);
  if (node != nullptr) {
    table_.move(*node, new_folder, new_name);
    table_.remember(*node, moved, asked_at);
    for (const auto& below_it : table_.files_at_or_below(*node)) below_it.file->moved(below_it.path);
  }
  table_.count_change(folder);
  table_.count_change(new_folder);
}

std::vector<DriveFiles::Rescued> DriveFiles::flush_all() {
  std::vector<Rescued> rescued;
  for (const auto& [node, path, file] : table_.files_at_or_below(table_.root())) {
    if (!file->is_unsaved()) continue;
    try {
      file->flush(path);
    } catch (const std::exception& error) {
      rescued.push_back({path, error.what(), file->rescue(path)});
    }
  }
  return rescued;
}

}  // namespace host
