// Copies between this machine's files and the drive. All content goes through the module's Read and Upload,
// and modification times come along.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "host/cli/interrupt.h"
#include "host/client/drive.h"

namespace host {

struct CopyCounts {
  long long files = 0;
  long long folders = 0;
  long long bytes = 0;
  long long skipped = 0;  // what is neither file nor folder, and links to folders, which may lead in circles
};

// Any of these throws OperationError, std::system_error for the local side, or Interrupted.
class Copier {
 public:
  Copier(Drive& drive, const InterruptGuard& interrupt) : drive_(drive), interrupt_(interrupt) {}

  // `local` is written beside itself first and replaced when it is whole: on a failure nothing of it is left.
  void get(const _FS_FILE_V2& file, const std::filesystem::path& local);
  void get_tree(const std::string& path, const std::filesystem::path& local);
  void put(const std::filesystem::path& local, const std::string& parent, const std::string& name);
  void put_tree(const std::filesystem::path& local, const std::string& parent, const std::string& name);

  [[nodiscard]] const CopyCounts& counts() const { return counts_; }

 private:
  void skip(const std::string& path, std::string_view what);

  Drive& drive_;
  const InterruptGuard& interrupt_;
  CopyCounts counts_;
};

}  // namespace host
