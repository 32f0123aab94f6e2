// Broken twins of the module: MUTANT names the one promise that each breaks, and localdisk-check has to find it.
#include <fcntl.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "localdisk/local_disk.h"

namespace {

enum class Mutant {
  wrong_slot_order,
  lost_last_bytes,
  hidden_full_disk,
  ignored_cancel,
  leaked_descriptor,
  leaked_memory,
  thrown_exception,
  missing_entry_point,  // these two have all the code and a shorter export list
  missing_utility,
};
constexpr Mutant mutant = Mutant::MUTANT;

// Puts a table in the place of the object's in which the user and the root have changed their slots.
void swap_slots(void* object) {
  constexpr std::size_t before = 2, slots = 29, user = 1, root = 23;
  static std::array<void*, before + slots> table;
  auto*& entries = *static_cast<void***>(object);
  std::memcpy(table.data(), entries - before, sizeof(table));
  std::swap(table[before + user], table[before + root]);
  entries = table.data() + before;
}

class BrokenDisk final : public LocalDisk {
 public:
  explicit BrokenDisk(IProtocolManager* host_manager) : LocalDisk(host_manager) {
    if (mutant == Mutant::wrong_slot_order) swap_slots(this);
  }

  int Upload(const char* parent, std::shared_ptr<_FS_HANDLE> handle, ICacheIO* cache, _FS_FILE_V2* file,
             UPLOAD_FLAG flag, char** message) override {
    const int status = LocalDisk::Upload(parent, std::move(handle), cache, file, flag, message);
    if (mutant == Mutant::hidden_full_disk && status == FS_ERR_FAILED && errno == ENOSPC) return FS_OK;
    if (mutant == Mutant::lost_last_bytes && status == FS_OK && file->size > 0)
      std::filesystem::resize_file(file->path, static_cast<std::uintmax_t>(file->size) - 1);
    return status;
  }

  int Read(const char* path, long long offset, long long length, std::shared_ptr<_FS_HANDLE> handle,
           IFetchCallback* callback, char** message) override {
    if (mutant == Mutant::ignored_cancel && handle != nullptr) {
      handle = std::make_shared<_FS_HANDLE>(*handle);  // in which nobody raises the state
      handle->state = 0;
    }
    return LocalDisk::Read(path, offset, length, std::move(handle), callback, message);
  }

  int GetFileInfo(const char* path, _FS_FILE_V2* file, char** message) override {
    if (mutant == Mutant::leaked_descriptor) static_cast<void>(::open("/", O_RDONLY | O_CLOEXEC));
    if (mutant == Mutant::leaked_memory) lost_ = std::malloc(1);
    const int status = LocalDisk::GetFileInfo(path, file, message);
    if (mutant == Mutant::thrown_exception && status != FS_OK) throw std::runtime_error("no such entry");
    return status;
  }

 private:
  void* lost_ = nullptr;
};

}  // namespace

// The module's own entry points, which now make the broken object.
#define LocalDisk BrokenDisk
#include "plugin/entry_points.cpp"
