// A whole storage module that keeps its entries in memory. It shows what a module has to bring: the entry points, the
// table of operations, records, transfers that can be stopped and followed, and a status for whatever happens.
//
//   c++ -std=c++20 -shared -fPIC -fvisibility=hidden -I HEADERS memory_module.cpp -o memory_module.so
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "localdisk/protocol.h"
#include "plugin/entry_points.h"
#include "plugin/logger.h"

// Each module defines the constructors of the interfaces that its object derives from.
IRefObject::IRefObject() = default;
IProtocol_V1::IProtocol_V1() = default;
IProtocol_V2::IProtocol_V2() = default;

namespace {
constexpr const char* type_name = "memory";
struct Entry {
  int type = FS_TYPE_DIRECTORY;
  std::shared_ptr<const std::string> content = std::make_shared<std::string>();
  time_t changed = std::time(nullptr), accessed = changed, modified = changed;
};

// "/a/b" of "//a/./x/../b/": what stands for an entry in the map of entries.
std::string normalized(const std::string& path) {
  std::string result = std::filesystem::path("/" + path + "/.").lexically_normal();
  if (result.size() > 1) result.pop_back();  // the separator at its end
  return result;
}
std::string joined(const std::string& parent, const std::string& name) {
  return parent + (parent.ends_with('/') ? "" : "/") + name;
}
std::string parent_of(const std::string& path) { return path.substr(0, std::max<std::size_t>(path.rfind('/'), 1)); }
bool is_in(const std::string& folder, const std::string& path) { return path != "/" && parent_of(path) == folder; }
bool is_within(const std::string& top, const std::string& path) { return path == top || path.starts_with(top + "/"); }

// Timestamp texts carry the local wall clock. A text that is read back counts as local standard time.
std::string timestamp(time_t instant) {
  tm fields{};
  char text[64] = "";
  std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S.000Z", ::localtime_r(&instant, &fields));
  return text;
}
time_t instant(const std::string& text, time_t when_unreadable) {
  tm fields{};
  return ::strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &fields) == nullptr ? when_unreadable : std::mktime(&fields);
}

// Fills what describes the entry at `path`; `parents` and the two extra members stay the host's.
void describe(const std::string& path, const Entry& entry, _FS_FILE_V2& file) {
  ::tzset();
  file.path = path;
  file.name = path == "/" ? path : path.substr(path.rfind('/') + 1);
  file.type = entry.type;
  file.size = static_cast<long long>(entry.content->size());
  file.ctime = timestamp(entry.changed);
  file.atime = timestamp(entry.accessed);
  file.mtime = timestamp(entry.modified);
}

// No exception may leave the module: what memory that ran out or a host's callback threw becomes a status.
template <class Body>
int answer(FS_STATUS when_thrown, Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return when_thrown;
  }
}

// A text goes out without a terminator, into a buffer that holds all of it.
int copy_out(const std::string& text, char* buffer, int* length) {
  if (length == nullptr) return FS_ERR_INVALID_ARG;
  const int capacity = *length;
  *length = static_cast<int>(text.size());
  if (buffer == nullptr || capacity < *length) return FS_ERR_BUFFER_TOO_SMALL;
  std::memcpy(buffer, text.data(), text.size());
  return FS_OK;
}

// The host may change the state and the progress function of a handle from another thread while a transfer runs.
bool is_stopped(const _FS_HANDLE& handle) {
  return __atomic_load_n(&handle.state, __ATOMIC_ACQUIRE) >= FS_STATE_STOP;
}
void report(const _FS_HANDLE& handle, long long total, long long done) {
  if (const auto progress = __atomic_load_n(&handle.progress, __ATOMIC_ACQUIRE))
    progress(total, done, handle.progress_ctx, 0);
}

// Asks for block after block until the file is whole.
FS_STATUS receive(std::string& content, const std::shared_ptr<_FS_HANDLE>& handle, ICacheIO& cache, long long size) {
  std::vector<unsigned char> chunk(FS_CHUNK_SIZE);
  for (long long done = 0; done < size; done = static_cast<long long>(content.size())) {
    if (is_stopped(*handle)) return FS_ERR_UPLOAD_CANCELLED;
    _FS_CACHE_REQUEST block{chunk.data(), done, FS_CHUNK_SIZE, 0, handle, size, {}};
    if (cache.ReadBlock(&block) != 0 || block.buffer == nullptr || block.delivered <= 0) return FS_ERR_FAILED;
    // The host may serve memory of its own, of any length.
    if (block.buffer == chunk.data() && block.delivered > block.capacity) return FS_ERR_FAILED;
    content.append(reinterpret_cast<const char*>(block.buffer), static_cast<std::size_t>(block.delivered));
    report(*handle, size, static_cast<long long>(content.size()));
  }
  return FS_OK;
}

class MemoryDrive : public IProtocol_V2 {
 public:
  void Release() override { delete this; }  // what GetProtocol made

  int GetFileList(const char* path, IFileList* list, char**) override {
    std::vector<_FS_FILE_V2> records;  // the host is called without the lock, for it may call back
    const int status = on_entry(path, list != nullptr, [&](const std::string& folder, const Entry& listed) {
      if (listed.type != FS_TYPE_DIRECTORY) return FS_ERR_NOT_FOUND;
      for (const auto& [key, entry] : entries_) {
        if (!is_in(folder, key)) continue;
        describe(key, entry, records.emplace_back());
        records.back().path = joined(path, records.back().name);
        records.back().parents = {path};
      }
      return FS_OK;
    });
    return answer(FS_ERR_OPERATION_FAILED, [&] {
      for (_FS_FILE_V2& record : records) list->AddFile(&record);
      return status;
    });
  }

  int GetFileInfo(const char* path, _FS_FILE_V2* file, char**) override {
    return on_entry(path, file != nullptr, [&](const std::string& key, const Entry& entry) {
      describe(key, entry, *file);
      return FS_OK;
    });
  }

  int Rename(const char* path, const char* to, _FS_FILE_V2* f, char** m) override { return Move(path, to, f, m); }
  int MoveDir(const char* path, const char* to, _FS_FILE_V2* f, char** m) override { return Move(path, to, f, m); }
  int Move(const char* path, const char* parent, _FS_FILE_V2* file, char**) override {
    return on_entry(path, parent != nullptr && file != nullptr, [&](const std::string& key, const Entry& entry) {
      const std::string from = key, to = normalized(joined(parent, file->name));
      if (to == from) return describe(to, entry, *file), FS_OK;
      if (!is_folder(parent_of(to)) || is_within(from, to)) return FS_ERR_OPERATION_FAILED;
      if (const auto there = entries_.find(to); there != entries_.end()) {
        if (there->second.type != entry.type || !is_empty(to)) return FS_ERR_OPERATION_FAILED;
        entries_.erase(there);
      }
      rename_all(from, to);
      describe(to, entries_[to], *file);
      return FS_OK;
    });
  }

  int CreateDirectory(const char* parent, _FS_FILE_V2* file, char**) override {
    return on_entry(parent, file != nullptr, [&](const std::string& folder, const Entry& holder) {
      if (holder.type != FS_TYPE_DIRECTORY) return FS_ERR_OPERATION_FAILED;
      const auto made = entries_.try_emplace(normalized(joined(folder, file->name))).first;  // or what stands there
      describe(made->first, made->second, *file);
      return FS_OK;
    });
  }

  int DeleteDirectory(_FS_FILE_V2* file, char** message) override { return Delete(file, message); }
  int Delete(_FS_FILE_V2* file, char**) override {
    if (file == nullptr) return FS_ERR_INVALID_ARG;
    return on_entry(file->path.c_str(), true, [&](const std::string& path, const Entry&) {
      if (path == "/" || !is_empty(path)) return FS_ERR_OPERATION_FAILED;
      entries_.erase(path);
      return FS_OK;
    });
  }

  int SetFileTime(const char* path, std::string, std::string read, std::string written, _FS_FILE_V2*,
                  char**) override {
    return on_entry(path, true, [&](const std::string&, Entry& entry) {
      entry.accessed = instant(read, entry.accessed);
      entry.modified = instant(written, entry.modified);
      return FS_OK;
    });
  }

  int Read(const char* path, long long offset, long long length, std::shared_ptr<_FS_HANDLE> handle,
           IFetchCallback* callback, char**) override {
    if (length < 0 || (length > 0 && (handle == nullptr || callback == nullptr))) return FS_ERR_INVALID_ARG;
    std::shared_ptr<const std::string> content;  // stays as it is while an Upload replaces it
    const int status = on_entry(path, true, [&](const std::string&, const Entry& entry) {
      content = entry.content;
      return entry.type == FS_TYPE_DIRECTORY ? FS_ERR_READ : offset < 0 ? FS_ERR_OPERATION_FAILED : FS_OK;
    });
    if (status != FS_OK) return status;
    return answer(FS_ERR_FAILED, [&] {
      const auto* const bytes = reinterpret_cast<const unsigned char*>(content->data());
      const long long available = static_cast<long long>(content->size()) - offset;
      for (long long done = 0; done < length;) {
        if (is_stopped(*handle)) return FS_ERR_READ_CANCELLED;
        const long long size = std::min({length - done, available - done, static_cast<long long>(FS_CHUNK_SIZE)});
        if (size <= 0) return FS_ERR_READ;  // the range runs past the end: what there is has been delivered
        long long unused = 0;
        callback->OnData(offset + done, bytes + offset + done, static_cast<unsigned long long>(size), &unused);
        done += size;
        report(*handle, length, done);
      }
      return FS_OK;
    });
  }

  int Upload(const char* parent, std::shared_ptr<_FS_HANDLE> handle, ICacheIO* cache, _FS_FILE_V2* file, UPLOAD_FLAG,
             char**) override {
    if (parent == nullptr || file == nullptr || handle == nullptr) return FS_ERR_INVALID_ARG;
    if (cache == nullptr && file->size > 0) return FS_ERR_INVALID_ARG;
    return answer(FS_ERR_FAILED, [&]() -> int {
      const std::string path = normalized(joined(parent, file->name));
      if (std::lock_guard guard(lock_); !can_be_written(path)) return FS_ERR_NOT_FOUND;
      const auto content = std::make_shared<std::string>();
      const int status = answer(FS_ERR_FAILED, [&] { return receive(*content, handle, *cache, file->size); });
      const std::lock_guard guard(lock_);
      if (!can_be_written(path)) return FS_ERR_NOT_FOUND;
      entries_.erase(path);
      if (status == FS_ERR_FAILED) return status;  // a file that is there holds what the host meant
      const auto made = entries_.emplace(path, Entry{FS_TYPE_FILE, content}).first;  // all, or what came until a stop
      describe(path, made->second, *file);
      return status;
    });
  }
  int GetUserInfo(char* buffer, int* length) override { return copy_out("nobody", buffer, length); }
  int GetRootID(char* buffer, int* length) override { return copy_out("/", buffer, length); }
  int GetType(char** name) override {
    return name == nullptr ? FS_ERR_INVALID_ARG : (*name = const_cast<char*>(type_name), FS_OK);
  }
  int SetOpt(const char* key, const char* value) override {
    return key == nullptr || value == nullptr ? FS_ERR_INVALID_ARG : FS_OK;  // there are no options
  }
  int GetFeature() override { return 0; }
  void FreeMsg(char* message) override { std::free(message); }
  int Connect(IProtocolAuth*, const char*) override { return FS_OK; }
  int SetLocalConfiguration(ILocalConfiguration*) override { return FS_OK; }
  int SetChangesCallback(IFileChanges*) override { return FS_OK; }
  int GetQuota(unsigned long long*, unsigned long long*) override { return FS_ERR_NOT_SUPPORTED; }
  int SetQuota(unsigned long long, unsigned long long) override { return FS_ERR_NOT_SUPPORTED; }
  int GetCredential(char*, int*) override { return FS_ERR_NOT_SUPPORTED; }
  int GetChanges(IFileChanges*, char**) override { return FS_ERR_NOT_SUPPORTED; }
  int GetIdentifier(char*, int*) override { return FS_ERR_NOT_SUPPORTED; }
  int GetShareableLink(_FS_FILE_V2*, std::string&) override { return FS_ERR_NOT_SUPPORTED; }

  virtual ~MemoryDrive() = default;  // declared last: the table begins with the interface's operations

 private:
  // What `body` answers for the entry at `path`, under the lock.
  template <class Body>
  int on_entry(const char* path, bool has_other_arguments, Body&& body) {
    if (path == nullptr || !has_other_arguments) return FS_ERR_INVALID_ARG;
    return answer(FS_ERR_OPERATION_FAILED, [&] {
      const std::lock_guard guard(lock_);
      const auto found = entries_.find(normalized(path));
      return found == entries_.end() ? FS_ERR_NOT_FOUND : body(found->first, found->second);
    });
  }

  // Called under the lock, with normalized paths.
  bool is_folder(const std::string& path) const {
    const auto found = entries_.find(path);
    return found != entries_.end() && found->second.type == FS_TYPE_DIRECTORY;
  }
  bool is_empty(const std::string& path) const {
    return std::none_of(entries_.begin(), entries_.end(), [&](const auto& item) { return is_in(path, item.first); });
  }
  bool can_be_written(const std::string& path) const { return is_folder(parent_of(path)) && !is_folder(path); }
  void rename_all(const std::string& from, const std::string& to) {
    std::map<std::string, Entry> moved;
    for (const auto& [path, entry] : entries_)
      if (is_within(from, path)) moved.emplace(to + path.substr(from.size()), entry);
    std::erase_if(entries_, [&](const auto& item) { return is_within(from, item.first); });
    entries_.merge(moved);
  }
  std::mutex lock_;
  std::map<std::string, Entry> entries_{{"/", Entry()}};
};

}  // namespace

bool GetProtocol(IProtocolManager* manager, void** object) {
  if (manager == nullptr || object == nullptr) return false;
  return answer(FS_ERR_FAILED, [&] { return *object = static_cast<IRefObject*>(new MemoryDrive), FS_OK; }) == FS_OK;
}
void GetSupportProtocol(char** name) {
  if (name != nullptr) *name = ::strdup(type_name);
}
void FreeP(void* memory) { std::free(memory); }
int GetAuthType() { return 0; }
int GetAuthFields(char*, int*) { return FS_ERR_NOT_SUPPORTED; }
int GetOptFields(char*, int*) { return FS_ERR_NOT_SUPPORTED; }
bool BindLogger(ILog* log) { return log != nullptr; }  // it has nothing to say
void UnbindLogger() {}
