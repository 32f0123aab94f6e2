// A folder of a test's own that removes itself with everything in it.
#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "localdisk-test-XXXXXX").string();
    if (::mkdtemp(path.data()) == nullptr) throw std::runtime_error("mkdtemp failed for " + path);
    path_ = path;
  }
  ~TemporaryFolder() {
    std::error_code failed;
    std::filesystem::remove_all(path_, failed);
    if (!failed) return;
    open_up(path_);
    std::filesystem::remove_all(path_, failed);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string operator/(std::string_view name) const { return path_ + "/" + std::string(name); }

  std::string write(std::string_view name, std::string_view content) const {
    std::string file = *this / name;
    std::ofstream(file, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
    return file;
  }

 private:
  // Gives the owner back the rights that a test took from folders of its own.
  static void open_up(const std::filesystem::path& folder) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add, ignored);
    for (const auto& entry : fs::directory_iterator(folder, ignored))
      if (fs::is_directory(entry.symlink_status(ignored))) open_up(entry.path());
  }

  std::string path_;
};

inline std::string file_content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
