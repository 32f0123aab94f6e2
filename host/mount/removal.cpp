// What becomes of an open file's content when the file is removed or replaced on the drive.
#include <fmt/format.h>

#include <cerrno>
#include <mutex>

#include "host/mount/messages.h"
#include "host/mount/open_file.h"

namespace host {
namespace {

using ContentLock = std::unique_lock<std::shared_mutex>;

// Content of up to this size is copied faster than it is put aside and removed later.
constexpr long long small_content = 1 << 20;

}  // namespace

OpenFile::~OpenFile() {
  if (aside_.empty()) return;
  try {
    drive_.remove_file(aside_);
    cache_.journal().forget(aside_number_);
  } catch (const std::exception& error) {
    tell(fmt::format("{} stays on the drive: {}", aside_, error.what()));
  }
}

Attributes OpenFile::last_known(const std::string& path) {
  const std::optional<Attributes> cached = cached_attributes();
  return cached ? *cached : drive_.attributes(path);
}

void OpenFile::mark_removed(const Attributes& last) {
  if (content_) content_->belongs_nowhere();
  const std::lock_guard state(state_lock_);
  removed_ = true;
  seen_ = last;
}

// Answers whether there was room.
bool OpenFile::keep_in_cache(const std::string& path, const Attributes& file) {
  try {
    if (!content_ || !can_have_same_content(file, on_drive_)) fetch(path, file.size);
    on_drive_ = file;
    return true;
  } catch (const std::exception&) {
    content_.reset();
    return false;
  }
}

// Answers whether the drive could move it away.
bool OpenFile::put_aside(const std::string& path) {
  const unsigned long number = cache_.new_number();
  const std::string aside = drive_.aside_path(number);
  try {
    cache_.journal().note_removed(number, aside);
    drive_.move(path, aside, /*directory=*/false);
  } catch (const std::exception&) {
    cache_.journal().forget(number);
    return false;
  }
  aside_ = aside;
  aside_number_ = number;
  return true;
}

void OpenFile::remove(const std::string& path, bool is_read) {
  const ContentLock lock(content_lock_);
  const Attributes last = last_known(path);
  const bool is_wanted = is_read && !is_cached() && last.size > 0;
  if (!is_cached() && !is_wanted) content_.reset();
  bool is_kept = !is_wanted || (last.size <= small_content && keep_in_cache(path, last));
  if (!is_kept && put_aside(path)) return mark_removed(last);
  is_kept = is_kept || keep_in_cache(path, last);
  try {
    drive_.remove_file(path);
  } catch (const std::exception& error) {
    if (!is_cached() || errno_of(error) != ENOENT) throw;  // others may have removed it from the folder
  }
  mark_removed(last);
  if (is_kept) return;
  is_lost_ = true;
  tell(fmt::format("{} is removed, and there is no room for what programs could still read of it", path));
}

void OpenFile::be_replaced(const std::string& path, bool is_read, const std::function<void()>& replace) {
  const ContentLock lock(content_lock_);
  const Attributes last = last_known(path);
  const bool is_wanted = is_read && !is_cached() && last.size > 0;
  if (!is_cached() && !is_wanted) content_.reset();
  !is_wanted || keep_in_cache(path, last) ? replace() : replace_beside(path, replace);
  mark_removed(last);
}

// For want of room the older file stays on the drive under another name: the one moment in which none has its own.
void OpenFile::replace_beside(const std::string& path, const std::function<void()>& replace) {
  const unsigned long number = cache_.new_number();
  const std::string aside = drive_.aside_path(number);
  Journal& journal = cache_.journal();
  journal.note_replaced(number, aside, path);
  try {
    drive_.move(path, aside, /*directory=*/false);
    try {
      replace();
    } catch (...) {
      drive_.move(aside, path, /*directory=*/false);
      throw;
    }
  } catch (...) {
    journal.forget(number);
    throw;
  }
  journal.note_removed(number, aside);
  aside_ = aside;
  aside_number_ = number;
}

}  // namespace host
