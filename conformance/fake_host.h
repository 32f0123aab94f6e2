// A host for the checks: its callbacks, and the protocol object of the module under test.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "conformance/contract.h"
#include "conformance/harness.h"
#include "testing/scoped_environment.h"
#include "testing/temporary_folder.h"

constexpr long long kChunk = 524288;

struct HostError {};  // what callbacks throw when they are told to

template <class Signature>
auto* entry(const char* name) {
  auto* const found = reinterpret_cast<Signature*>(harness::symbol(name));
  if (found == nullptr) harness::give_up(__FILE__, __LINE__, fmt::format("{} is not exported", name));
  return found;
}

// The manager and the logger may be called from several threads at once.
struct Manager final : IProtocolManager {
  std::mutex lock;
  std::string pid = "pid-7";
  std::string module_id;
  std::vector<std::string> values;
  bool throws = false;
  bool quiet = false;  // then it hands the pid over and needs no memory
  int GetPid(const char* module, char* buffer, int* length) override;
  int SetValue(const char* owner, const char* key, const char* value, int flag) override;
};

struct Entries final : IFileList {
  std::map<std::string, _FS_FILE_V2> by_name;
  int calls = 0;
  std::function<void(_FS_FILE_V2&)> then = [](_FS_FILE_V2&) {};
  int AddFile(_FS_FILE_V2* file) override;
};

struct Log final : ILog {
  std::mutex lock;
  std::vector<std::string> lines;
  std::function<void()> then = [] {};
  void First() override { harness::fail(__FILE__, __LINE__, "the logger's first entry was called"); }
  void Second() override { harness::fail(__FILE__, __LINE__, "the logger's second entry was called"); }
  [[gnu::format(printf, 3, 0)]] void LogV(LOGLEVEL level, const char* format, va_list arguments) override;
};

struct Chunk {
  long long offset;
  unsigned long long length;
  bool operator==(const Chunk&) const = default;
};

struct Receiver final : IFetchCallback {
  std::string content;
  std::vector<Chunk> chunks;
  std::function<void()> then = [] {};
  int OnData(long long offset, const unsigned char* data, unsigned long long length, long long* out) override;
};

// Serves `content`; `answer` may change what a block says, or its result.
struct Source final : ICacheIO {
  std::string content;
  std::vector<long long> offsets;
  std::function<int(_FS_CACHE_REQUEST&)> answer = [](_FS_CACHE_REQUEST&) { return 0; };
  int ReadBlock(_FS_CACHE_REQUEST* request) override;
};

struct Report {
  long long total, done;
  bool operator==(const Report&) const = default;
};

// A transfer handle whose reports are kept.
struct Transfer {
  std::shared_ptr<_FS_HANDLE> handle = std::make_shared<_FS_HANDLE>();
  std::vector<Report> reports;
  std::function<void()> then = [] {};
  Transfer();
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  void stop() { __atomic_store_n(&handle->state, 3, __ATOMIC_RELEASE); }
};

// The object under test, in a folder of its own. Its end checks what every operation promises: no descriptor
// is left open, no share of a handle kept, no message stored.
class Drive {
 public:
  Drive();
  ~Drive();
  Drive(const Drive&) = delete;
  Drive& operator=(const Drive&) = delete;

  Protocol* operator->() { return object_; }
  Manager manager;
  TemporaryFolder folder;
  char* message = nullptr;

  _FS_FILE_V2 info(const std::string& path);
  int upload(std::string name, Source& source, Transfer& transfer, long long size = -1);
  int read(const std::string& path, long long offset, long long length, Receiver& receiver, Transfer& transfer);

 private:
  Protocol* object_ = nullptr;
  int descriptors_;
};

// Of the first thousand, which is enough: the system gives out the lowest that is free.
int open_descriptors();

// Content whose every position tells itself from its neighbours.
std::string pattern(long long size);

// Without the rights of root, if the check has them, while it lives.
class Unprivileged {
 public:
  Unprivileged();
  ~Unprivileged();
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;

 private:
  bool was_root_;
};

// A record of the host's with each member set, to see what an operation leaves alone.
_FS_FILE_V2 marked_record(std::string name);
std::string as_text(const _FS_FILE_V2& file);

template <>
struct fmt::formatter<std::vector<Chunk>> : fmt::formatter<std::string> {
  auto format(const std::vector<Chunk>& chunks, fmt::format_context& context) const {
    std::string text;
    for (const Chunk& chunk : chunks) text += fmt::format("{}+{} ", chunk.offset, chunk.length);
    return fmt::formatter<std::string>::format(text, context);
  }
};
template <>
struct fmt::formatter<std::vector<Report>> : fmt::formatter<std::string> {
  auto format(const std::vector<Report>& reports, fmt::format_context& context) const {
    std::string text;
    for (const Report& report : reports) text += fmt::format("{}/{} ", report.done, report.total);
    return fmt::formatter<std::string>::format(text, context);
  }
};
