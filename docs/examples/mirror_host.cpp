// A host that mirrors a folder: makes one side hold what the other holds, with the times of files and folders.
//
//   mirror_host MODULE push LOCAL FOLDER    what LOCAL holds goes to the drive's FOLDER
//   mirror_host MODULE pull LOCAL FOLDER    and back
//
// Files of the same size and time are left alone, what the source doesn't have is removed. Ctrl-C stops in good
// order: under its name stands the older file or the newer one, whole. Links are followed. Exit codes: 0, 1 failed, 2
// usage or no module, 130 stopped.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "localdisk/protocol.h"
#include "plugin/entry_points.h"

namespace fs = std::filesystem;

// One handle for all transfers: stopped once, it stops the one that runs and those that would follow.
const std::shared_ptr<_FS_HANDLE> handle = std::make_shared<_FS_HANDLE>();
void stop(_FS_HANDLE& transfer) { __atomic_store_n(&transfer.state, FS_STATE_STOP, __ATOMIC_RELEASE); }
bool stopped() { return __atomic_load_n(&handle->state, __ATOMIC_ACQUIRE) >= FS_STATE_STOP; }

volatile std::sig_atomic_t interrupted = 0;
void interrupt(int) {
  interrupted = 1;
  stop(*handle);
}

// Runs one operation, or one call of the system that answers 0 for success, and throws when it fails.
template <class Operation>
void expect_ok(const char* what, const std::string& path, Operation&& operation) {
  if (stopped()) throw std::runtime_error("stopped");
  errno = 0;
  const int status = operation();
  const std::string reason = errno != 0 ? std::strerror(errno) : "no reason of the system's";
  if (status != FS_OK) {
    throw std::runtime_error(std::string("can't ") + what + " " + path + ": " + std::to_string(status) + ", " +
                             reason);
  }
}

// The instant of a record's time text, -1 where there is none.
time_t parse_record_time(const std::string& text) {
  tm fields{};
  if (::strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &fields) == nullptr) return -1;
  fields.tm_isdst = -1;  // the zone's rules say whether it was summer time
  return ::mktime(&fields);
}

// The text that SetFileTime takes for an instant.
std::string format_set_time(time_t instant) {
  tm fields{};
  time_t reading = instant;  // of a clock, counted as if it showed UTC
  for (int step = 0; step < 4; ++step) {
    ::gmtime_r(&reading, &fields);  // which says that it is not summer time
    reading += instant - ::mktime(&fields);
  }
  ::gmtime_r(&reading, &fields);
  char text[32];
  return std::string(text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &fields));
}

// Whether a record is that of a file with this status: the record's time shows the local clock of its instant.
bool is_same(const _FS_FILE_V2& record, const struct stat& status) {
  tm fields{};
  char text[32];
  ::localtime_r(&status.st_mtime, &fields);
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S.000Z", &fields);
  return record.type == FS_TYPE_FILE && S_ISREG(status.st_mode) && record.size == status.st_size &&
         record.mtime == text;
}

struct Manager final : IProtocolManager {
  int GetPid(const char*, char*, int*) override { return 0; }  // this host has one object: it needs no name
  int SetValue(const char*, const char*, const char*, int) override { return 0; }
};

struct Collector final : IFileList {
  std::map<std::string, _FS_FILE_V2> entries;
  int AddFile(_FS_FILE_V2* file) override { return entries[file->name] = *file, 0; }
};

// A file of this machine, as the source of an upload and as the receiver of what is read.
struct LocalFile final : ICacheIO, IFetchCallback {
  int descriptor;
  int reason = 0;  // why writing failed
  LocalFile(const std::string& path, int flags) : descriptor(::open(path.c_str(), flags | O_CLOEXEC, 0666)) {
    expect_ok("open", path, [&] { return descriptor < 0 ? 1 : 0; });
  }
  ~LocalFile() { ::close(descriptor); }
  LocalFile(const LocalFile&) = delete;
  LocalFile& operator=(const LocalFile&) = delete;

  int ReadBlock(_FS_CACHE_REQUEST* block) override {
    const auto wanted = static_cast<std::size_t>(std::min(block->capacity, block->total_size - block->offset));
    block->delivered = ::pread(descriptor, block->buffer, wanted, block->offset);
    return block->delivered > 0 ? 0 : 1;  // failed, or the file has shrunk
  }
  int OnData(long long offset, const unsigned char* data, unsigned long long length, long long*) override {
    while (length > 0 && reason == 0) {
      const ssize_t written = ::pwrite(descriptor, data, length, offset);
      if (written <= 0) return reason = errno, stop(*handle), 1;
      data += written, offset += written, length -= static_cast<unsigned long long>(written);
    }
    return 0;
  }
};

class Mirror {
 public:
  explicit Mirror(IProtocol_V2& drive) : drive_(drive) {}

  void push(const std::string& local, const std::string& folder, int depth = 0) {
    auto there = list(folder, depth);
    for (const fs::directory_entry& entry : fs::directory_iterator(local)) {
      const std::string name = entry.path().filename().string(), path = folder + "/" + name;
      struct stat status {};
      if (::stat(entry.path().c_str(), &status) != 0) continue;  // gone, or a link that leads nowhere
      if (!S_ISDIR(status.st_mode) && !S_ISREG(status.st_mode)) continue;
      const auto found = there.find(name);
      const bool is_there = found != there.end();
      if (is_there && (found->second.type == FS_TYPE_DIRECTORY) != S_ISDIR(status.st_mode)) remove(found->second, 0);
      if (S_ISDIR(status.st_mode)) {
        _FS_FILE_V2 record;
        record.name = name;
        expect_ok("make", path, [&] { return drive_.CreateDirectory(folder.c_str(), &record, nullptr); });
        push(entry.path().string(), path, depth + 1);
        set_times(path, status);
      } else if (!is_there || !is_same(found->second, status)) {
        upload(entry.path().string(), folder, name, status);
      }
      if (is_there) there.erase(found);
    }
    for (auto& [name, record] : there) remove(record, 0);
  }

  void pull(const std::string& folder, const std::string& local, int depth = 0) {
    const auto there = list(folder, depth);
    for (const fs::directory_entry& entry : fs::directory_iterator(local)) {
      const auto found = there.find(entry.path().filename().string());
      if (found == there.end() || (found->second.type == FS_TYPE_DIRECTORY) != entry.is_directory()) {
        fs::remove_all(entry.path());  // removes links, never what they lead to
      }
    }
    for (const auto& [name, record] : there) {
      const std::string path = local + "/" + name;
      struct stat status {};
      if (record.type == FS_TYPE_DIRECTORY) {
        fs::create_directory(path);
        pull(record.path, path, depth + 1);
        set_times(path, record);
      } else if (::stat(path.c_str(), &status) != 0 || !is_same(record, status)) {
        download(record, path);
      }
    }
  }

 private:
  std::map<std::string, _FS_FILE_V2> list(const std::string& folder, int depth) {
    if (depth > 100) throw std::runtime_error(folder + " is too deep: links that lead in a circle?");
    Collector collector;
    expect_ok("list", folder, [&] { return drive_.GetFileList(folder.c_str(), &collector, nullptr); });
    return std::move(collector.entries);
  }

  // Delete takes files, empty folders and links to them. So only a folder that it refuses is entered, no link.
  void remove(_FS_FILE_V2& entry, int depth) {
    const int answer = drive_.Delete(&entry, nullptr);
    if (answer == FS_OK) return;
    if (answer == FS_ERR_NOT_FOUND) return leave_out(entry.path);
    if (entry.type == FS_TYPE_DIRECTORY) {
      for (auto& [name, record] : list(entry.path, depth)) remove(record, depth + 1);
    }
    expect_ok("remove", entry.path, [&] { return drive_.Delete(&entry, nullptr); });
  }

  static void leave_out(const std::string& path) {
    std::fprintf(stderr, "mirror_host: %s is left as it is: gone, or a link that leads nowhere\n", path.c_str());
  }

  // Beside the older file, which is replaced when the new one is whole and has its time.
  void upload(const std::string& local, const std::string& folder, const std::string& name,
              const struct stat& status) {
    LocalFile source(local, O_RDONLY);
    _FS_FILE_V2 record;
    record.name = name + ".part";
    record.path = folder + "/" + record.name;
    record.size = status.st_size;
    try {
      expect_ok("upload", local,
                [&] { return drive_.Upload(folder.c_str(), handle, &source, &record, UPLOAD_FLAG{}, nullptr); });
      set_times(record.path, status);
      record.name = name;
      const std::string part = record.path;
      expect_ok("move", part, [&] { return drive_.Move(part.c_str(), folder.c_str(), &record, nullptr); });
    } catch (...) {
      drive_.Delete(&record, nullptr);  // a stopped upload leaves its blocks
      throw;
    }
  }

  void download(const _FS_FILE_V2& record, const std::string& path) {
    const std::string part = path + ".part";
    _FS_FILE_V2 found;
    try {
      LocalFile target(part, O_WRONLY | O_CREAT | O_TRUNC);
      const int answer = drive_.Read(record.path.c_str(), 0, record.size, handle, &target, nullptr);
      if (answer == FS_ERR_NOT_FOUND && drive_.GetFileInfo(record.path.c_str(), &found, nullptr) == answer) {
        ::unlink(part.c_str());
        return leave_out(record.path);
      }
      if (target.reason != 0) throw std::runtime_error("can't write " + part + ": " + std::strerror(target.reason));
      expect_ok("read", record.path, [&] { return answer; });
      set_times(part, record);
      fs::rename(part, path);
    } catch (...) {
      ::unlink(part.c_str());
      throw;
    }
  }

  void set_times(const std::string& path, const struct stat& status) {
    expect_ok("set the times of", path, [&] {
      return drive_.SetFileTime(path.c_str(), "", format_set_time(status.st_atime), format_set_time(status.st_mtime),
                                nullptr, nullptr);
    });
  }
  static void set_times(const std::string& path, const _FS_FILE_V2& record) {
    const timespec times[] = {{parse_record_time(record.atime), 0}, {parse_record_time(record.mtime), 0}};
    expect_ok("set the times of", path, [&] { return ::utimensat(AT_FDCWD, path.c_str(), times, 0); });
  }

  IProtocol_V2& drive_;
};

int main(int argc, char** argv) {
  const std::string direction = argc == 5 ? argv[2] : "";
  if (direction != "push" && direction != "pull") {
    return std::fprintf(stderr, "usage: mirror_host MODULE push|pull LOCAL FOLDER\n"), 2;
  }
  void* const library = ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return std::fprintf(stderr, "%s\n", ::dlerror()), 2;
  const auto create = reinterpret_cast<decltype(&GetProtocol)>(::dlsym(library, "GetProtocol"));
  Manager manager;
  void* object = nullptr;
  if (create == nullptr || !create(&manager, &object)) return std::fprintf(stderr, "not a module\n"), 2;
  auto* const drive = static_cast<IProtocol_V2*>(object);

  std::signal(SIGINT, interrupt);
  int result = 0;
  try {
    Mirror mirror(*drive);
    direction == "push" ? mirror.push(argv[3], argv[4]) : mirror.pull(argv[4], argv[3]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "mirror_host: %s\n", error.what());
    result = interrupted ? 130 : 1;
  }
  drive->Release();
  return result;
}
