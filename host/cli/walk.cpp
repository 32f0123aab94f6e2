#include "host/cli/walk.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "host/client/paths.h"

namespace host {
namespace {

// What of an entry has a fixed size, as it lies in the spool before its two texts.
struct Fixed {
  long long size;
  time_t modified;
  const char* what;
  std::size_t time_length, name_length;
  Kind kind;
};

std::string packed(const Entry& entry) {
  const Fixed fixed{entry.size, entry.modified, entry.what, entry.record_time.size(), entry.name.size(), entry.kind};
  std::string bytes(sizeof fixed, '\0');
  std::memcpy(bytes.data(), &fixed, sizeof fixed);
  return bytes + entry.record_time + entry.name;
}

Entry unpacked(Spool& spool, long long& at) {
  Fixed fixed{};
  std::memcpy(&fixed, spool.read(at, sizeof fixed).data(), sizeof fixed);
  at += static_cast<long long>(sizeof fixed);
  const std::string texts = spool.read(at, fixed.time_length + fixed.name_length);
  at += static_cast<long long>(texts.size());
  return {texts.substr(fixed.time_length),   fixed.kind, fixed.what, fixed.size, fixed.modified,
          texts.substr(0, fixed.time_length)};
}

[[noreturn]] void throw_spool_error() {
  throw std::system_error(errno, std::generic_category(), "the temporary file for long lists of names");
}

}  // namespace

void Spool::append(std::string_view bytes) {
  const auto room = static_cast<std::size_t>(std::max(0LL, most_in_memory - size_));
  memory_.append(bytes.substr(0, room));
  const std::string_view rest = bytes.substr(std::min(room, bytes.size()));
  if (!rest.empty()) {
    const long long in_file = std::max(size_, most_in_memory) - most_in_memory;
    if (!file_) file_.reset(std::tmpfile());
    if (!file_ || (position_ != in_file && ::fseeko(file_.get(), in_file, SEEK_SET) != 0) ||
        std::fwrite(rest.data(), 1, rest.size(), file_.get()) != rest.size()) {
      throw_spool_error();
    }
    position_ = in_file + static_cast<long long>(rest.size());
  }
  size_ += static_cast<long long>(bytes.size());
}

std::string Spool::read(long long from, std::size_t count) {
  std::string bytes;
  if (from < most_in_memory) bytes = memory_.substr(static_cast<std::size_t>(from), count);
  if (bytes.size() == count) return bytes;
  const std::size_t got = bytes.size();
  bytes.resize(count);
  const long long in_file = from + static_cast<long long>(got) - most_in_memory;
  position_ = -1;
  if (::fseeko(file_.get(), in_file, SEEK_SET) != 0 ||
      std::fread(bytes.data() + got, 1, count - got, file_.get()) != count - got) {
    throw_spool_error();
  }
  return bytes;
}

void Spool::cut(long long size) {
  size_ = size;
  if (size < most_in_memory) memory_.resize(static_cast<std::size_t>(size));
}

void Walk::each(const std::string& folder, const Tree::Visit& visit) {
  struct Cut {
    Spool& spool;
    long long size = spool.size();
    ~Cut() { spool.cut(size); }
  };
  const Cut cut{entries_};
  tree_.list(folder, [&](const Entry& entry) { entries_.append(packed(entry)); });
  const long long end = entries_.size();
  for (long long at = cut.size; at < end;) visit(unpacked(entries_, at));
}

bool Removal::remove_below(const std::string& path, const Entry& entry) {
  if (is_excluded_ && is_excluded_(entry)) return false;
  // Before the path gets too long for the system, the folder moves to a short one.
  constexpr std::size_t longest = 3000;
  if (entry.kind == Kind::folder && !dry_run_ && path.size() > std::max(longest, top_.size() + 300)) {
    return report_.attempt([&] {
      const std::string place = below(top_, temporary_name());
      walk_.tree().move(path, place, entry);
      lifted_.push_back(place);
    });
  }
  if (entry.kind == Kind::folder && !remove_content(path)) return false;
  return remove_itself(path, entry);
}

bool Removal::remove_itself(const std::string& path, const Entry& entry) {
  return report_.attempt([&] {
    if (!dry_run_) walk_.tree().remove(path, entry);
    if (removed_) removed_(path);
  });
}

bool Removal::remove_content(const std::string& folder) {
  bool all = true;
  const bool listed = report_.attempt_more([&] {
    walk_.each(folder, [&](const Entry& entry) { all = remove_below(below(folder, entry.name), entry) && all; });
  });
  return listed && all;
}

bool Removal::remove(const std::string& path, const Entry& entry) {
  if (is_excluded_ && is_excluded_(entry)) return false;
  top_ = path;
  bool all = entry.kind != Kind::folder || remove_content(path);
  while (!lifted_.empty()) {
    const std::string next = std::exchange(lifted_.back(), {});
    lifted_.pop_back();
    Entry folder;
    folder.kind = Kind::folder;
    all = remove_content(next) && remove_itself(next, folder) && all;
  }
  return all && remove_itself(path, entry);
}

}  // namespace host
