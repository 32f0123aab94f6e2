// The host's own files, one for the content of each file that is written through the drive.
#pragma once

#include <atomic>
#include <ctime>
#include <filesystem>
#include <span>
#include <string>

namespace host {

// One private file, which goes with its object unless it is kept. What fails throws std::system_error.
class CacheFile {
 public:
  explicit CacheFile(std::filesystem::path path);  // makes the file
  CacheFile(CacheFile&& other) noexcept;
  CacheFile& operator=(CacheFile&& other) noexcept;
  ~CacheFile();

  [[nodiscard]] long long size() const;
  // Answers how much it was: less than `out` holds at the end only.
  std::size_t read(std::span<char> out, long long offset) const;
  void write(std::span<const char> data, long long offset);  // past the end too: zeros fill the gap
  void resize(long long size);
  std::filesystem::path keep();  // from here on it stays where it is

 private:
  std::filesystem::path path_;  // empty when there is nothing to remove
  int descriptor_ = -1;
};

// A new folder that only this user can enter. It removes itself unless something was rescued into it.
class CacheFolder {
 public:
  explicit CacheFolder(const std::filesystem::path& parent);
  ~CacheFolder();
  CacheFolder(const CacheFolder&) = delete;
  CacheFolder& operator=(const CacheFolder&) = delete;

  CacheFile new_file();
  // Keeps the content for the user under the path it had on the drive, and answers where that is.
  std::filesystem::path rescue(CacheFile content, const std::string& drive_path, time_t modified);
  [[nodiscard]] std::filesystem::path rescue_folder() const { return path_ / "rescue"; }

 private:
  std::filesystem::path path_;
  std::atomic<unsigned long> files_ = 0;
  bool rescued_ = false;
};

}  // namespace host
