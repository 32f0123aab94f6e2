#include "host/mount/open_files.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <utility>

#include "host/client/report.h"

namespace host {
namespace {

using ContentLock = std::unique_lock<std::shared_mutex>;

bool is_at_or_below(const std::string& path, const std::string& top) {
  return path.compare(0, top.size(), top) == 0 && (path.size() == top.size() || path[top.size()] == '/');
}

}  // namespace

OpenFile::OpenFile(RootedDrive& drive, CacheFolder& cache, std::string path)
    : drive_(drive), cache_(cache), path_(std::move(path)) {}

std::optional<Attributes> OpenFile::cached_attributes() const {
  const std::lock_guard lock(state_lock_);
  return changed_ || removed_ ? std::optional(seen_) : std::nullopt;
}

Attributes OpenFile::attributes() {
  if (const auto cached = cached_attributes()) return *cached;
  const std::shared_lock lock(content_lock_);
  return drive_.attributes(path_);
}

std::size_t OpenFile::read(std::span<char> out, long long offset) {
  const std::shared_lock lock(content_lock_);
  return is_cached() ? content_->read(out, offset) : drive_.read(path_, offset, out);
}

void OpenFile::write(std::span<const char> data, long long offset) {
  const ContentLock lock(content_lock_);
  take_into_cache();
  mark_dirty();  // before it happens: a write that fails half-way is a change
  content_->write(data, offset);
  mark_dirty();
}

void OpenFile::resize(long long size) {
  const ContentLock lock(content_lock_);
  size == 0 ? take_empty_into_cache() : take_into_cache();
  content_->resize(size);
  mark_dirty();
}

void OpenFile::set_times(const NewTimes& times) {
  const ContentLock lock(content_lock_);
  if (!is_cached()) return drive_.set_times(path_, times);
  const std::lock_guard state(state_lock_);
  seen_.accessed = times.accessed.value_or(seen_.accessed);
  seen_.modified = times.modified.value_or(seen_.modified);
  seen_.changed = ::time(nullptr);
}

void OpenFile::list(const RootedDrive::Visit& visit) {
  const std::shared_lock lock(content_lock_);
  drive_.list(path_, visit);
}

void OpenFile::flush() {
  const ContentLock lock(content_lock_);
  const std::optional<Attributes> wanted = cached_attributes();
  if (!wanted || is_removed()) return;
  const auto source = [&](unsigned char* block, std::size_t size, long long done) {
    const std::span<char> bytes(reinterpret_cast<char*>(block), size);
    if (content_->read(bytes, done) < bytes.size()) throw_errno(EIO, path_);
  };
  on_drive_ = is_new_ ? drive_.fill_file(path_, *wanted, source) : drive_.replace_file(path_, *wanted, source);
  is_new_ = false;
  const std::lock_guard state(state_lock_);
  changed_ = false;
}

// The copy of an earlier change serves again where the drive's file is still what was uploaded then.
void OpenFile::take_into_cache() {
  if (is_cached()) return;
  const Attributes now = drive_.attributes(path_);
  if (now.directory) return;
  if (!content_ || now != on_drive_) {
    CacheFile content = cache_.new_file();
    long long done = 0;
    drive_.fetch(path_, now.size, [&](const unsigned char* data, std::size_t size) {
      content.write({reinterpret_cast<const char*>(data), size}, done);
      done += static_cast<long long>(size);
    });
    content_ = std::move(content);
    on_drive_ = now;
  }
  const std::lock_guard state(state_lock_);
  seen_ = now;
}

void OpenFile::take_empty_into_cache() {
  if (is_cached()) return;
  const Attributes now = drive_.attributes(path_);
  content_ = cache_.new_file();
  const std::lock_guard state(state_lock_);
  seen_ = now;
}

void OpenFile::mark_dirty() {
  const long long size = content_->size();
  const std::lock_guard state(state_lock_);
  changed_ = true;
  seen_.size = size;
  seen_.modified = seen_.changed = ::time(nullptr);
}

bool OpenFile::is_removed() const {
  const std::lock_guard lock(state_lock_);
  return removed_;
}

void OpenFile::mark_removed() {
  const std::lock_guard state(state_lock_);
  removed_ = true;
}

std::shared_ptr<OpenFile> OpenFiles::find(const std::string& path) const {
  const std::lock_guard lock(table_lock_);
  const auto found = files_.find(path);
  return found == files_.end() ? nullptr : found->second;
}

std::vector<std::shared_ptr<OpenFile>> OpenFiles::at_or_below(const std::string& path) const {
  std::vector<std::shared_ptr<OpenFile>> files;
  const std::lock_guard lock(table_lock_);
  for (auto at = files_.lower_bound(path); at != files_.end() && at->first.compare(0, path.size(), path) == 0; ++at) {
    if (is_at_or_below(at->first, path)) files.push_back(at->second);
  }
  return files;
}

bool OpenFiles::is_open(const std::string& path) const {
  const std::lock_guard lock(table_lock_);
  const auto found = files_.find(path);
  return found != files_.end() && found->second->handles_ > 0;
}

// Wants the lock of the table. Answers whether the file was there: it may be closed by now.
bool OpenFiles::drop(const OpenFile& file) {
  const auto found = files_.find(file.path_);
  if (found == files_.end() || found->second.get() != &file) return false;
  files_.erase(found);
  return true;
}

std::shared_ptr<OpenFile> OpenFiles::open(const std::string& path) {
  const std::lock_guard lock(table_lock_);
  std::shared_ptr<OpenFile>& file = files_[path];
  if (!file) file = std::make_shared<OpenFile>(drive_, cache_, path);
  ++file->handles_;
  return file;
}

std::shared_ptr<OpenFile> OpenFiles::create(const std::string& path) {
  drive_.create_file(path);
  std::shared_ptr<OpenFile> file = open(path);
  const ContentLock lock(file->content_lock_);
  file->is_new_ = true;
  return file;
}

void OpenFiles::close(OpenFile& file) {
  {
    const std::lock_guard lock(table_lock_);
    if (--file.handles_ > 0) return;
  }
  try {
    file.flush();
  } catch (const std::exception& error) {
    print_error(fmt::format("a changed file stays in the cache: {}", error.what()));
  }
  const std::lock_guard lock(table_lock_);
  if (file.handles_ == 0 && !file.is_cached()) drop(file);
}

Attributes OpenFiles::attributes(const std::string& path) {
  const std::shared_ptr<OpenFile> file = find(path);
  const std::optional<Attributes> cached = file ? file->cached_attributes() : std::nullopt;
  return cached ? *cached : drive_.attributes(path);
}

void OpenFiles::set_times(const std::string& path, const NewTimes& times) {
  const std::shared_ptr<OpenFile> file = find(path);
  file ? file->set_times(times) : drive_.set_times(path, times);
}

void OpenFiles::resize(const std::string& path, long long size) {
  const std::shared_ptr<OpenFile> file = open(path);
  try {
    file->resize(size);
    file->flush();
  } catch (...) {
    close(*file);
    throw;
  }
  close(*file);
}

void OpenFiles::remove(const std::string& path, const std::string& alias) {
  const std::shared_ptr<OpenFile> file = find(path);
  if (!file) return drive_.remove_file(path);
  const ContentLock content(file->content_lock_);
  if (!file->is_removed()) {
    if (is_open(path)) file->take_into_cache();
    try {
      drive_.remove_file(path);
    } catch (const std::exception& error) {
      if (!file->is_cached() || errno_of(error) != ENOENT) throw;  // others may have removed it from the folder
    }
    file->mark_removed();
  }
  const std::lock_guard lock(table_lock_);
  drop(*file);
  if (alias.empty() || file->handles_ == 0) return;
  file->path_ = alias;
  files_[alias] = file;
}

void OpenFiles::move(const std::string& from, const std::string& to) {
  if (from == to) return;
  if (is_at_or_below(to, from)) throw_errno(EINVAL, to);
  std::vector<std::shared_ptr<OpenFile>> files = at_or_below(from);
  const std::shared_ptr<OpenFile> replaced = find(to);
  if (replaced) files.push_back(replaced);
  std::sort(files.begin(), files.end());  // two moves that share files take them in one order
  std::vector<ContentLock> locks;
  locks.reserve(files.size());
  for (const auto& file : files) locks.emplace_back(file->content_lock_);

  if (replaced && is_open(to)) replaced->take_into_cache();
  drive_.move(from, to);
  const std::lock_guard lock(table_lock_);
  const auto end = std::partition(files.begin(), files.end(), [&](const auto& file) { return drop(*file); });
  for (auto file = files.begin(); file != end; ++file) {
    if (*file == replaced) {
      replaced->mark_removed();
    } else {
      (*file)->path_ = to + (*file)->path_.substr(from.size());
      files_[(*file)->path_] = *file;
    }
  }
}

void OpenFiles::remove_directory(const std::string& path) {
  for (const auto& file : at_or_below(path)) {
    if (file->is_cached() && !file->is_removed()) throw_errno(ENOTEMPTY, path);  // kept here alone
  }
  drive_.remove_directory(path);
  // What is left of it here was removed before: nobody can ask for it by its alias any more.
  const auto files = at_or_below(path);
  const std::lock_guard lock(table_lock_);
  for (const auto& file : files) drop(*file);
}

std::vector<OpenFiles::Rescued> OpenFiles::finish() {
  std::vector<Rescued> rescued;
  const Files files = std::exchange(files_, {});
  for (const auto& [path, file] : files) {
    const std::optional<Attributes> cached = file->cached_attributes();
    if (!cached || file->is_removed()) continue;
    try {
      file->flush();
    } catch (const std::exception& error) {
      rescued.push_back({path, error.what(), cache_.rescue(std::move(*file->content_), path, cached->modified)});
      file->content_.reset();
    }
  }
  return rescued;
}

}  // namespace host
