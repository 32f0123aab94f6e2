#include "host/mount/cache.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>
#include <utility>

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr const char* folder_prefix = "localdisk-mount-";
constexpr const char* journal_name = "journal";
constexpr mode_t private_file = 0600;

void check(bool good, const fs::path& path) {
  if (!good) throw std::system_error(errno, std::generic_category(), path.string());
}

fs::path make_private_folder(const fs::path& parent) {
  std::string path = (fs::absolute(parent) / (std::string(folder_prefix) + "XXXXXX")).string();
  check(::mkdtemp(path.data()) != nullptr, parent);
  return path;
}

// Held for as long as the drive lives, and let go by the system however it ends.
Descriptor lock_folder(const fs::path& folder) {
  Descriptor lock(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (lock && ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) return Descriptor();
  return lock;
}

// Rescued content keeps its path; where it can't, for its length or because another is there, its number.
fs::path put_under(const fs::path& rescue, const std::string& drive_path, unsigned long number,
                   const std::function<void(const fs::path&)>& put) {
  fs::path place = rescue / fs::path(drive_path).relative_path();
  std::error_code in_the_way;
  fs::create_directories(place.parent_path(), in_the_way);
  if (in_the_way || fs::exists(fs::symlink_status(place, in_the_way))) {
    fs::create_directories(rescue);
    place = rescue / (std::to_string(number) + "-" + fs::path(drive_path).filename().string());
  }
  put(place);
  return place;
}

}  // namespace

CacheFile::CacheFile(CacheFolder& folder, unsigned long number) : folder_(&folder), number_(number) {
  file_ = Descriptor(::open(path().c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, private_file));
  expect(static_cast<bool>(file_));
}

CacheFile::CacheFile(CacheFolder& folder, unsigned long number, Descriptor file)
    : folder_(&folder), number_(number), file_(std::move(file)) {}

CacheFile::CacheFile(CacheFile&& other) noexcept
    : folder_(std::exchange(other.folder_, nullptr)),
      number_(other.number_),
      file_(std::move(other.file_)),
      size_(other.size_),
      noted_(std::exchange(other.noted_, false)) {}

CacheFile& CacheFile::operator=(CacheFile&& other) noexcept {
  std::swap(folder_, other.folder_);
  std::swap(number_, other.number_);
  std::swap(file_, other.file_);
  std::swap(size_, other.size_);
  std::swap(noted_, other.noted_);
  return *this;
}

CacheFile::~CacheFile() {
  if (folder_ == nullptr) return;
  belongs_nowhere();
  if (!folder_->take_spare(number_, file_, size_)) ::unlink(path().c_str());
}

fs::path CacheFile::path() const { return folder_->path() / std::to_string(number_); }

void CacheFile::expect(bool good) const {
  if (!good) check(false, path());
}

std::size_t CacheFile::read(std::span<char> out, long long offset) const {
  const long long wanted = std::clamp(size_ - offset, 0LL, static_cast<long long>(out.size()));
  for (long long done = 0; done < wanted;) {
    const ssize_t got =
        ::pread(file_.get(), out.data() + done, static_cast<std::size_t>(wanted - done), offset + done);
    expect(got >= 0);
    if (got == 0) throw std::system_error(EIO, std::generic_category(), path().string() + " was cut off");
    done += got;
  }
  return static_cast<std::size_t>(wanted);
}

void CacheFile::write(std::span<const char> data, long long offset) {
  while (!data.empty()) {
    const ssize_t put = ::pwrite(file_.get(), data.data(), data.size(), offset);
    expect(put >= 0);
    data = data.subspan(static_cast<std::size_t>(put));
    offset += put;
    size_ = std::max(size_, offset);
  }
}

void CacheFile::append(std::span<const char> data) {
  constexpr std::size_t worth_a_hole = 1 << 16;
  const bool zeros =
      data.size() >= worth_a_hole && data[0] == 0 && std::memcmp(data.data(), data.data() + 1, data.size() - 1) == 0;
  zeros ? resize(size_ + static_cast<long long>(data.size())) : write(data, size_);
}

void CacheFile::resize(long long size) {
  expect(::ftruncate(file_.get(), size) == 0);
  size_ = size;
}

long long CacheFile::next_data(long long offset) const {
#if defined(SEEK_DATA)
  const off_t data = ::lseek(file_.get(), offset, SEEK_DATA);
  if (data >= 0) return data;
  if (errno == ENXIO && ::lseek(file_.get(), 0, SEEK_END) == size_) return size_;
#endif
  return offset;
}

void CacheFile::belongs_to(const std::string& path) {
  belongs_nowhere();
  folder_->journal().note_content(number_, path);
  noted_ = true;
}

void CacheFile::belongs_nowhere() {
  if (std::exchange(noted_, false)) folder_->journal().forget(number_);
}

void CacheFile::keep_at(const fs::path& place) {
  std::error_code gone;
  fs::rename(path(), place, gone);
  if (gone) {  // its name is: the content is not
    const Descriptor copy(::open(place.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, private_file));
    check(static_cast<bool>(copy), place);
    std::array<char, 1 << 16> block{};
    for (long long done = 0; done < size_;) {
      const std::size_t got = read(block, done);
      check(::write(copy.get(), block.data(), got) == static_cast<ssize_t>(got), place);
      done += static_cast<long long>(got);
    }
  }
  belongs_nowhere();
  folder_ = nullptr;
}

CacheFolder::CacheFolder(const fs::path& parent) : path_(make_private_folder(parent)), lock_(lock_folder(path_)) {
  journal_.emplace(path_ / journal_name);
}

CacheFolder::~CacheFolder() {
  std::error_code gone_already;
  rescued_ ? fs::remove(path_ / journal_name, gone_already) : fs::remove_all(path_, gone_already) > 0;
}

CacheFile CacheFolder::new_file() {
  {
    const std::lock_guard guard(spares_lock_);
    while (!spares_.empty()) {
      Spare spare = std::move(spares_.back());
      spares_.pop_back();
      struct stat status {};
      // Someone may have removed its name: what is written to it would not be found after a kill.
      const bool is_whole = ::fstat(spare.file.get(), &status) == 0 && status.st_nlink == 1 && status.st_size == 0;
      if (is_whole) return {*this, spare.number, std::move(spare.file)};
    }
  }
  return {*this, ++files_};
}

bool CacheFolder::take_spare(unsigned long number, Descriptor& file, long long size) {
  constexpr std::size_t most = 4;
  constexpr long long small = 1 << 20;
  if (size > small || ::ftruncate(file.get(), 0) != 0) return false;
  const std::lock_guard guard(spares_lock_);
  if (spares_.size() >= most) return false;
  spares_.push_back({number, std::move(file)});
  return true;
}

fs::path CacheFolder::rescue(CacheFile content, const std::string& drive_path, time_t modified) {
  rescued_ = true;
  return put_under(rescue_folder(), drive_path, content.number(), [&](const fs::path& place) {
    content.keep_at(place);
    const std::array<timeval, 2> times{{{modified, 0}, {modified, 0}}};
    ::utimes(place.c_str(), times.data());  // the content is what counts
  });
}

fs::path default_cache_folder() {
  const auto from = [](const char* variable) {
    return std::getenv(variable) != nullptr ? std::getenv(variable) : "";
  };
#if defined(__APPLE__)
  const fs::path home = from("HOME");
  const fs::path caches = home.empty() ? fs::path() : home / "Library/Caches";
#else
  const fs::path home = from("HOME");
  const fs::path named = from("XDG_CACHE_HOME");
  const fs::path caches = named.is_absolute() ? named : home.empty() ? fs::path() : home / ".cache";
#endif
  if (caches.empty()) throw std::runtime_error("HOME is not set: name a folder with --cache");
  fs::path folder = caches / "localdisk";
  fs::create_directories(folder);
  return folder;
}

std::vector<AbandonedCache> find_abandoned(const fs::path& parent) {
  std::vector<AbandonedCache> abandoned;
  for (const fs::directory_entry& entry : fs::directory_iterator(parent)) {
    if (!entry.path().filename().string().starts_with(folder_prefix)) continue;
    if (!fs::exists(entry.path() / journal_name)) continue;
    Descriptor lock = lock_folder(entry.path());
    if (lock) abandoned.push_back({entry.path(), std::move(lock), Journal::read(entry.path() / journal_name)});
  }
  return abandoned;
}

std::vector<RescuedContent> rescue_contents(const AbandonedCache& cache) {
  std::vector<RescuedContent> rescued;
  for (const auto& [number, path] : cache.kept.contents) {
    const fs::path content = cache.path / std::to_string(number);
    if (!fs::exists(content)) continue;
    const auto put = [&](const fs::path& place) { fs::rename(content, place); };
    rescued.push_back({path, put_under(cache.path / "rescue", path, number, put)});
  }
  std::vector<fs::path> rest;
  for (const fs::directory_entry& entry : fs::directory_iterator(cache.path)) {
    if (entry.path().filename() != "rescue") rest.push_back(entry.path());
  }
  for (const fs::path& path : rest) fs::remove(path);
  std::error_code not_empty;
  if (!fs::exists(cache.path / "rescue")) fs::remove(cache.path, not_empty);
  return rescued;
}

}  // namespace host
