#include "host/mount/journal.h"

#include <fcntl.h>
#include <fmt/format.h>

#include <cerrno>
#include <fstream>
#include <system_error>

namespace host {
namespace {

constexpr char module_kind = 'M', root_kind = 'D', content_kind = 'C', removed_kind = 'R', replaced_kind = 'O',
               forgotten_kind = 'F';

}  // namespace

Journal::Journal(const std::filesystem::path& file)
    : file_(::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)) {
  if (!file_) throw std::system_error(errno, std::generic_category(), file.string());
  reserve_room();
}

// A removal must succeed where there is no room left, and its note with it.
void Journal::reserve_room() {
#if defined(__linux__)
  constexpr off_t room = 1 << 18;
  static_cast<void>(::fallocate(file_.get(), FALLOC_FL_KEEP_SIZE, length_, room));  // without it, it is tried later
#endif
}

// A record: its kind, its number and the lengths of its two texts, then the texts as they are.
void Journal::append(char kind, unsigned long number, const std::string& first, const std::string& second) {
  const std::string record =
      fmt::format("{} {} {} {}\n{}{}\n", kind, number, first.size(), second.size(), first, second);
  if (::write(file_.get(), record.data(), record.size()) != static_cast<ssize_t>(record.size())) {
    throw std::system_error(errno, std::generic_category(), "the journal of the cache");
  }
  length_ += static_cast<long long>(record.size());
}

void Journal::note_root(const std::string& module, const std::string& root, const std::string& upload_prefix) {
  const std::lock_guard lock(lock_);
  append(module_kind, 0, module);
  append(root_kind, 0, root, upload_prefix);
  head_length_ = length_;
}

void Journal::note_content(unsigned long number, const std::string& path) {
  const std::lock_guard lock(lock_);
  append(content_kind, number, path);
  ++live_;
}

void Journal::note_removed(unsigned long number, const std::string& aside) {
  const std::lock_guard lock(lock_);
  append(removed_kind, number, aside);
  ++live_;
}

void Journal::note_replaced(unsigned long number, const std::string& aside, const std::string& path) {
  const std::lock_guard lock(lock_);
  append(replaced_kind, number, aside, path);
  ++live_;
}

void Journal::forget(unsigned long number) {
  constexpr long long worth_shortening = 1 << 16;
  const std::lock_guard lock(lock_);
  try {
    append(forgotten_kind, number, {});
  } catch (const std::system_error&) {  // NOLINT(bugprone-empty-catch): the next drive looks for more than there is
  }
  // A number counts as often as it was noted: nothing that is noted is ever cut off.
  if (--live_ == 0 && length_ > worth_shortening && ::ftruncate(file_.get(), head_length_) == 0) {
    length_ = head_length_;
    reserve_room();
  }
}

Journal::Kept Journal::read(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  Kept kept;
  std::map<unsigned long, std::string> removed;
  std::map<unsigned long, std::pair<std::string, std::string>> replaced;
  char kind = 0;
  unsigned long number = 0;
  std::size_t first_length = 0, second_length = 0;
  constexpr std::size_t longest = 1 << 20;
  while (in >> kind >> number >> first_length >> second_length && first_length < longest && second_length < longest) {
    std::string first(first_length, '\0'), second(second_length, '\0');
    in.get();
    in.read(first.data(), static_cast<std::streamsize>(first_length));
    in.read(second.data(), static_cast<std::streamsize>(second_length));
    if (!in) break;
    kept.contents.erase(number);
    removed.erase(number);
    replaced.erase(number);
    if (kind == module_kind) {
      kept.module = first;
    } else if (kind == root_kind) {
      kept.root = first;
      kept.upload_prefix = second;
    } else if (kind == content_kind) {
      kept.contents[number] = first;
    } else if (kind == removed_kind) {
      removed[number] = first;
    } else if (kind == replaced_kind) {
      replaced[number] = {first, second};
    }
  }
  for (const auto& [ignored, aside] : removed) kept.removed.push_back(aside);
  for (const auto& [ignored, places] : replaced) kept.replaced.push_back(places);
  return kept;
}

}  // namespace host
