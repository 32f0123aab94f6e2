#include "host/mount/open_file.h"

#include <cerrno>
#include <utility>

#include "host/client/report.h"

namespace host {
namespace {

using ContentLock = std::unique_lock<std::shared_mutex>;

}  // namespace

std::optional<Attributes> OpenFile::cached_attributes() const {
  const std::lock_guard lock(state_lock_);
  return changed_ || removed_ || diverted_ ? std::optional(seen_) : std::nullopt;
}

bool OpenFile::is_removed() const {
  const std::lock_guard lock(state_lock_);
  return removed_;
}

bool OpenFile::is_unsaved() const {
  const std::lock_guard lock(state_lock_);
  return changed_ && !removed_;
}

void OpenFile::start_made(const Attributes& made) {
  const ContentLock lock(content_lock_);
  if (is_cached()) return;
  content_.reset();
  on_drive_ = made;
  made_at_ = std::chrono::steady_clock::now();
}

void OpenFile::start_removed() {
  const ContentLock lock(content_lock_);
  content_ = cache_.new_file();
  const std::lock_guard state(state_lock_);
  removed_ = true;
  seen_.size = 0;
  seen_.accessed = seen_.modified = seen_.changed = ::time(nullptr);
}

void OpenFile::read(const std::string& path, std::span<char> room, long long offset, const RootedDrive::Take& take) {
  const std::shared_lock lock(content_lock_);
  const std::optional<Attributes> cached = cached_attributes();
  if (!cached) return drive_.read(path, offset, room, take);
  if (content_) return take(room.first(content_->read(room, offset)));
  if (!aside_.empty()) return drive_.read(aside_, offset, room, take);
  if (cached->size > 0) throw_errno(EIO, path);
  take({});
}

void OpenFile::write(const std::string& path, std::span<const char> data, long long offset) {
  const ContentLock lock(content_lock_);
  take_into_cache(path);
  only_appended_ = false;
  mark_dirty(path);  // before it happens: a write that fails half-way is a change
  content_->write(data, offset);
  mark_dirty(path);
}

long long OpenFile::append(const std::string& path, std::span<const char> data) {
  const ContentLock lock(content_lock_);
  const bool is_first = !is_cached();
  made_at_ = {};  // others may have begun it
  take_into_cache(path);
  if (is_first) {
    only_appended_ = true;
    appended_at_ = content_->size();
  } else {
    take_others_appends(path);
  }
  const long long end = content_->size();
  mark_dirty(path);
  content_->write(data, end);
  mark_dirty(path);
  return end;
}

void OpenFile::resize(const std::string& path, long long size) {
  const ContentLock lock(content_lock_);
  take_into_cache(path, size);
  only_appended_ = false;
  mark_dirty(path);
  content_->resize(size);
  mark_dirty(path);
}

void OpenFile::set_times(const std::string& path, const NewTimes& times) {
  const ContentLock lock(content_lock_);
  made_at_ = {};  // not as it was made any more
  if (!is_cached()) return drive_.set_times(path, times);
  const std::lock_guard state(state_lock_);
  seen_.accessed = times.accessed.value_or(seen_.accessed);
  seen_.modified = times.modified.value_or(seen_.modified);
  seen_.changed = ::time(nullptr);
  sets_accessed_ = sets_accessed_ || times.accessed;
  // For a diverted file the times go with the next upload.
  changed_ = changed_ || diverted_;
}

// Of the content only what is wanted. The copy of an earlier change serves again where the drive's file is still what
// was uploaded then.
void OpenFile::take_into_cache(const std::string& path, std::optional<long long> size_wanted) {
  if (is_cached()) return is_removed() ? take_removed() : void();
  const auto age = std::chrono::steady_clock::now() - std::exchange(made_at_, {});
  const bool is_just_made = age < std::chrono::duration<double>(seconds_to_remember);
  const Attributes now = is_just_made ? on_drive_ : drive_.attributes(path);
  if (now.directory) throw_errno(EISDIR, path);
  if (!content_ || !can_have_same_content(now, on_drive_)) {
    fetch(path, std::min(size_wanted.value_or(now.size), now.size));
    on_drive_ = now;
  }
  const std::lock_guard state(state_lock_);
  seen_ = now;
  sets_accessed_ = false;
}

void OpenFile::take_removed() {
  if (content_) return;
  if (is_lost_) throw_errno(EIO, "the content of a removed file");
  const Attributes last = *cached_attributes();
  if (!aside_.empty()) {
    fetch(aside_, last.size);
  } else {
    content_ = cache_.new_file();  // nobody could read what was in it
    content_->resize(last.size);
  }
}

void OpenFile::fetch(const std::string& place, long long size) {
  CacheFile content = cache_.new_file();
  drive_.fetch(place, size, [&](const unsigned char* data, std::size_t length) {
    content.append({reinterpret_cast<const char*>(data), length});
  });
  content_ = std::move(content);
}

void OpenFile::mark_dirty(const std::string& path) {
  const long long size = content_->size();
  const std::lock_guard state(state_lock_);
  if (!changed_ && !removed_) content_->belongs_to(newer_.empty() ? path : newer_);
  changed_ = true;
  seen_.size = size;
  seen_.modified = seen_.changed = ::time(nullptr);
}

}  // namespace host
