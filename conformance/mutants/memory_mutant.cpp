// Broken twins of the memory module: LOCALDISK_MUTANT in the environment names the one promise that the module
// breaks, and the check of that promise has to find it. All are one library, so that they are compiled once.
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>

// The module's own entry points under other names, for those that are broken here.
#define GetProtocol unbroken_GetProtocol
#define GetAuthFields unbroken_GetAuthFields
#define BindLogger unbroken_BindLogger
#if defined(WITHOUT_FREEP)
#define FreeP unexported_FreeP
#endif
#include "docs/examples/memory_module.cpp"
#undef GetProtocol
#undef GetAuthFields
#undef BindLogger

namespace {

bool is(std::string_view mutant) {
  const char* const chosen = std::getenv("LOCALDISK_MUTANT");
  return chosen != nullptr && chosen == mutant;
}

struct WithoutHidden final : IFileList {
  explicit WithoutHidden(IFileList* host) : list(host) {}
  int AddFile(_FS_FILE_V2* file) override { return file->name.starts_with('.') ? 0 : list->AddFile(file); }
  IFileList* list;
};

struct BrokenBlocks final : ICacheIO {
  explicit BrokenBlocks(ICacheIO* host) : cache(host) {}
  int ReadBlock(_FS_CACHE_REQUEST* request) override {
    if (is("lost_total")) request->total_size = 0;
    const int result = cache->ReadBlock(request);
    if (is("wrong_byte") && result == 0) request->buffer[0] ^= 1U;
    return result;
  }
  ICacheIO* cache;
};

// Each operation is broken by at most a few mutants; what none of them names stays as it is.
class BrokenDrive final : public MemoryDrive {
 public:
  int GetType(char** name) override {
    const int status = MemoryDrive::GetType(name);
    if (is("other_type") && status == FS_OK) *name = const_cast<char*>("other");
    return status;
  }
  int SetOpt(const char* key, const char* value) override {
    return is("refused_option") ? FS_ERR_INVALID_ARG : MemoryDrive::SetOpt(key, value);
  }
  int GetShareableLink(_FS_FILE_V2* file, std::string& link) override {
    if (is("touched_link")) link = "changed";
    return MemoryDrive::GetShareableLink(file, link);
  }
  int GetRootID(char* buffer, int* length) override {
    const int status = MemoryDrive::GetRootID(buffer, length);
    if (is("terminated_text") && status == FS_OK) buffer[*length] = '\0';
    return status;
  }
  int GetFileInfo(const char* path, _FS_FILE_V2* file, char** message) override {
    if (is("accepted_null") && file == nullptr) return FS_OK;
    const int status = MemoryDrive::GetFileInfo(path, file, message);
    if (is("emptied_member") && status == FS_OK) file->extra1.clear();
    if (is("fixed_zone") && status == FS_OK) file->mtime = "2020-01-02T03:04:05.000Z";
    return status;
  }
  int GetFileList(const char* path, IFileList* list, char** message) override {
    WithoutHidden without_hidden(list);
    const int status = MemoryDrive::GetFileList(path, is("hidden_entry") ? &without_hidden : list, message);
    return is("missing_is_empty") && status == FS_ERR_NOT_FOUND ? FS_OK : status;
  }
  int CreateDirectory(const char* parent, _FS_FILE_V2* file, char** message) override {
    _FS_FILE_V2 there;
    if (is("refused_existing") && parent != nullptr && file != nullptr &&
        MemoryDrive::GetFileInfo(joined(parent, file->name).c_str(), &there, message) == FS_OK)
      return FS_ERR_OPERATION_FAILED;
    return MemoryDrive::CreateDirectory(parent, file, message);
  }
  int Move(const char* path, const char* parent, _FS_FILE_V2* file, char** message) override {
    const int status = MemoryDrive::Move(path, parent, file, message);
    if (is("wrong_missing") && status == FS_ERR_NOT_FOUND) return FS_ERR_OPERATION_FAILED;
    if (is("shared_record") && status == FS_OK) share(*file);
    return status;
  }
  int Delete(_FS_FILE_V2* file, char** message) override {
    const int status = MemoryDrive::Delete(file, message);
    return is("deleted_nothing") && status == FS_ERR_NOT_FOUND ? FS_OK : status;
  }
  int SetFileTime(const char* path, std::string made, std::string read, std::string written, _FS_FILE_V2* file,
                  char** message) override {
    if (is("swapped_times")) std::swap(read, written);
    return MemoryDrive::SetFileTime(path, made, read, written, file, message);
  }
  int Read(const char* path, long long offset, long long length, std::shared_ptr<_FS_HANDLE> handle,
           IFetchCallback* callback, char** message) override {
    if (is("ignored_cancel") && handle != nullptr) {
      handle = std::make_shared<_FS_HANDLE>(*handle);  // in which nobody raises the state
      handle->state = 0;
    }
    const int status = MemoryDrive::Read(path, offset, length, handle, callback, message);
    if (is("short_is_whole") && status == FS_ERR_READ) return FS_OK;
    return is("wrong_failure") && status == FS_ERR_FAILED ? FS_ERR_OPERATION_FAILED : status;
  }
  int Upload(const char* parent, std::shared_ptr<_FS_HANDLE> handle, ICacheIO* cache, _FS_FILE_V2* file,
             UPLOAD_FLAG flag, char** message) override {
    if (is("ascii_names") && file != nullptr && file->name[0] < ' ') return FS_ERR_FAILED;
    BrokenBlocks blocks(cache);
    const int status = MemoryDrive::Upload(parent, handle, cache == nullptr ? nullptr : &blocks, file, flag, message);
    if (is("wrong_refusal") && status == FS_ERR_NOT_FOUND) return FS_ERR_FAILED;
    if (is("kept_failed") && status == FS_ERR_FAILED) {
      _FS_FILE_V2 empty;
      empty.name = file->name;
      MemoryDrive::Upload(parent, handle, nullptr, &empty, flag, message);
    }
    if (is("removed_stopped") && status == FS_ERR_UPLOAD_CANCELLED) MemoryDrive::Delete(file, message);
    return status;
  }

 private:
  // What a record that all threads use for their own makes of it.
  static void share(_FS_FILE_V2& file) {
    static std::mutex lock;
    static _FS_FILE_V2 shared;
    if (std::lock_guard guard(lock); true) shared = file;
    ::usleep(1000);
    const std::lock_guard guard(lock);
    file = shared;
  }
};

}  // namespace

extern "C" {

LOCALDISK_EXPORT bool GetProtocol(IProtocolManager* manager, void** object) {
  if ((manager == nullptr && !is("no_manager")) || object == nullptr) return false;
  *object = static_cast<IRefObject*>(new BrokenDrive);
  return true;
}

LOCALDISK_EXPORT int GetAuthFields(char* buffer, int* length) {
  if (is("touched_field") && buffer != nullptr) *buffer = '\0';
  return unbroken_GetAuthFields(buffer, length);
}

LOCALDISK_EXPORT bool BindLogger(ILog* log) { return is("bound_null") || unbroken_BindLogger(log); }

}  // extern "C"
