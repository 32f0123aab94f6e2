#include "host/mount/cache.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>

namespace host {
namespace {

namespace fs = std::filesystem;

void check(bool good, const fs::path& path) {
  if (!good) throw std::system_error(errno, std::generic_category(), path.string());
}

fs::path make_private_folder(const fs::path& parent) {
  std::string path = (fs::absolute(parent) / "localdisk-mount-XXXXXX").string();
  check(::mkdtemp(path.data()) != nullptr, parent);
  return path;
}

}  // namespace

CacheFile::CacheFile(fs::path path) : path_(std::move(path)) {
  constexpr mode_t private_file = 0600;
  descriptor_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, private_file);
  check(descriptor_ >= 0, path_);
}

CacheFile::CacheFile(CacheFile&& other) noexcept
    : path_(std::exchange(other.path_, {})), descriptor_(std::exchange(other.descriptor_, -1)) {}

CacheFile& CacheFile::operator=(CacheFile&& other) noexcept {
  std::swap(path_, other.path_);
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

CacheFile::~CacheFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!path_.empty()) ::unlink(path_.c_str());
}

long long CacheFile::size() const {
  struct stat status {};
  check(::fstat(descriptor_, &status) == 0, path_);
  return status.st_size;
}

std::size_t CacheFile::read(std::span<char> out, long long offset) const {
  std::size_t done = 0;
  while (done < out.size()) {
    const ssize_t got =
        ::pread(descriptor_, out.data() + done, out.size() - done, offset + static_cast<long long>(done));
    check(got >= 0, path_);
    if (got == 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

void CacheFile::write(std::span<const char> data, long long offset) {
  while (!data.empty()) {
    const ssize_t put = ::pwrite(descriptor_, data.data(), data.size(), offset);
    check(put >= 0, path_);
    data = data.subspan(static_cast<std::size_t>(put));
    offset += put;
  }
}

void CacheFile::resize(long long size) { check(::ftruncate(descriptor_, size) == 0, path_); }

fs::path CacheFile::keep() { return std::exchange(path_, {}); }

CacheFolder::CacheFolder(const fs::path& parent) : path_(make_private_folder(parent)) {}

CacheFolder::~CacheFolder() {
  std::error_code gone_already;
  if (!rescued_) fs::remove_all(path_, gone_already);
}

CacheFile CacheFolder::new_file() { return CacheFile(path_ / std::to_string(++files_)); }

fs::path CacheFolder::rescue(CacheFile content, const std::string& drive_path, time_t modified) {
  rescued_ = true;
  const fs::path kept = content.keep();
  const std::array<timeval, 2> times{{{modified, 0}, {modified, 0}}};
  ::utimes(kept.c_str(), times.data());  // the content is what counts
  const fs::path place = rescue_folder() / fs::path(drive_path).relative_path();
  std::error_code no_such_place;  // a path that is too long, or in the way of another: its number will do
  fs::create_directories(place.parent_path(), no_such_place);
  if (!no_such_place) fs::rename(kept, place, no_such_place);
  return no_such_place ? kept : place;
}

}  // namespace host
