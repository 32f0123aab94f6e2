// How the changed content of an open file gets to the drive, and what happens where others changed the file too.
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <utility>

#include "host/mount/messages.h"
#include "host/mount/open_file.h"

namespace host {
namespace {

// A name beside the file's own that nothing has.
std::string free_name(RootedDrive& drive, const std::string& path) {
  constexpr int most = 1000;
  for (int number = 1; number < most; ++number) {
    const std::string name = number == 1 ? path + ".newer" : fmt::format("{}.newer-{}", path, number);
    if (!drive.find(name)) return name;
  }
  throw_errno(EEXIST, path);
}

}  // namespace

void OpenFile::flush(const std::string& path) {
  const std::unique_lock<std::shared_mutex> lock(content_lock_);
  if (!is_unsaved()) return;
  take_others_appends(path);
  upload(path);
}

// Where all that changed is what programs appended, and others appended too, theirs comes first: nobody's is lost.
void OpenFile::take_others_appends(const std::string& path) {
  if (!only_appended_ || !newer_.empty() || is_removed()) return;
  const std::optional<Attributes> now = drive_.find(path);
  if (!now || now->directory || can_have_same_content(*now, on_drive_)) return;
  CacheFile own = std::exchange(content_, std::nullopt).value();
  try {
    fetch(path, now->size);
    const long long theirs = content_->size();
    std::string block(1 << 16, '\0');
    for (long long at = appended_at_; at < own.size();) {
      const std::size_t got = own.read(block, at);
      content_->append({block.data(), got});
      at += static_cast<long long>(got);
    }
    content_->belongs_to(path);
    appended_at_ = theirs;
    on_drive_ = *now;
  } catch (...) {
    content_ = std::move(own);
    throw;
  }
  const std::lock_guard state(state_lock_);
  seen_.size = content_->size();
}

void OpenFile::upload(const std::string& path) {
  const Attributes wanted = *cached_attributes();
  if (newer_.empty()) {
    const std::optional<Attributes> now = drive_.find(path);
    if (now && !can_have_same_content(*now, on_drive_)) {
      newer_ = free_name(drive_, path);
      tell(fmt::format("others changed {} while it was written here: theirs stays, what was written here is in {}",
                       path, newer_));
      const std::lock_guard state(state_lock_);
      diverted_ = true;
    }
  }
  constexpr long long worth_a_look = 1 << 16;
  const bool is_large = content_->size() > worth_a_look;
  long long data_from = 0;  // before it is nothing but a hole, from where was looked last
  const auto source = [&](unsigned char* block, std::size_t size, long long done) {
    const std::span<char> bytes(reinterpret_cast<char*>(block), size);
    const auto end = done + static_cast<long long>(size);
    if (is_large && data_from <= done) data_from = content_->next_data(done);
    if (data_from >= end) {
      std::memset(block, 0, size);
    } else if (content_->read(bytes, done) < size) {
      throw_errno(EIO, path);
    }
  };
  const NewTimes times{sets_accessed_ ? std::optional(wanted.accessed) : std::nullopt, wanted.modified};
  on_drive_ =
      drive_.replace_file(newer_.empty() ? path : newer_, content_->number(), content_->size(), times, source);
  content_->belongs_nowhere();
  only_appended_ = false;
  const std::lock_guard state(state_lock_);
  changed_ = sets_accessed_ = false;
}

void OpenFile::moved(const std::string& path) {
  const std::unique_lock<std::shared_mutex> lock(content_lock_);
  made_at_ = {};  // a move changes its times
  if (is_unsaved() && newer_.empty()) content_->belongs_to(path);
}

std::filesystem::path OpenFile::rescue(const std::string& path) {
  const std::unique_lock<std::shared_mutex> lock(content_lock_);
  const time_t modified = cached_attributes()->modified;
  CacheFile content = std::exchange(content_, std::nullopt).value();
  return cache_.rescue(std::move(content), path, modified);
}

}  // namespace host
