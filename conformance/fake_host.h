// A host for the checks: its callbacks, and the protocol object of the module under test.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "conformance/contract.h"
#include "conformance/expect.h"
#include "conformance/harness.h"

struct HostError {};  // what callbacks throw when they are told to

template <class Signature>
auto* entry(const char* name) {
  auto* const found = reinterpret_cast<Signature*>(harness::symbol(name));
  if (found == nullptr) harness::give_up(fmt::format("{} is not exported", name));
  return found;
}
using CreateObject = bool(IProtocolManager*, void**);

// The manager and the logger may be called from several threads at once.
struct Manager final : IProtocolManager {
  std::mutex lock;
  std::string pid = "pid-7";
  std::string module_id;
  std::vector<std::string> values;
  int pids_asked = 0;
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
  void First() override { harness::fail("The module called the logger's first entry, which is the host's own"); }
  void Second() override { harness::fail("The module called the logger's second entry, which is the host's own"); }
  [[gnu::format(printf, 3, 0)]] void LogV(LOGLEVEL level, const char* format, va_list arguments) override;
};

struct Receiver final : IFetchCallback {
  std::string content;
  std::vector<Chunk> chunks;
  std::function<void()> then = [] {};
  int OnData(long long offset, const unsigned char* data, unsigned long long length, long long* out) override;
};

// Serves `content`; `answer` may change what a block says, or its result.
struct Source final : ICacheIO {
  Source() = default;
  explicit Source(std::string served) : content(std::move(served)) {}
  std::string content;
  std::vector<long long> offsets;
  std::function<int(_FS_CACHE_REQUEST&)> answer = [](_FS_CACHE_REQUEST&) { return 0; };
  int ReadBlock(_FS_CACHE_REQUEST* request) override;
};

// A transfer handle whose reports are kept.
struct Transfer {
  std::shared_ptr<_FS_HANDLE> handle = std::make_shared<_FS_HANDLE>();
  std::vector<Report> reports;
  std::function<void()> then = [] {};
  Transfer();
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;
  void stop() { __atomic_store_n(&handle->state, stop_state, __ATOMIC_RELEASE); }
};

// The object under test with its options set, and a folder to work in. Its end checks what every operation promises:
// no descriptor is left open, no share of a handle kept, no message stored.
class Session {
 public:
  Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  Protocol* operator->() { return object_; }
  Manager manager;
  std::string folder;
  char* message = nullptr;

  // Of what stands at a path that must be there.
  _FS_FILE_V2 info(const std::string& path);
  // Into the folder, unless another is named. A negative size stands for that of the content.
  int upload(std::string name, Source& source, Transfer& transfer, long long size = -1);
  int upload_into(const std::string& parent, std::string name, Source& source, Transfer& transfer,
                  long long size = -1);
  int read(const std::string& path, long long offset, long long length, Receiver& receiver, Transfer& transfer);

 protected:
  ~Session();

 private:
  Protocol* object_ = nullptr;
  int descriptors_;
};

// With a folder of its own under the root that the caller named, which it makes and empties by operations alone.
class Drive final : public Session {
 public:
  Drive();
  ~Drive();
  Drive(const Drive&) = delete;
  Drive& operator=(const Drive&) = delete;

  std::string operator/(std::string_view name) const { return folder + "/" + std::string(name); }
  // What the check needs to be there; gives the check up when it can't be had. Both answer the path.
  std::string make_file(const std::string& name, std::string content);
  std::string make_folder(const std::string& name);
  // What the file holds that must be there.
  std::string content(const std::string& path);
  // The status, or the end of the check when the module does not offer the operation.
  static int offered(std::string_view operation, int status);

 private:
  void remove_all(const std::string& path);
};

// Of the first thousand, which is enough: the system gives out the lowest that is free.
int open_descriptors();

// Content whose every position tells itself from its neighbours.
std::string pattern(long long size);

// A record of the host's with each member set, to see what an operation leaves alone.
_FS_FILE_V2 marked_record(std::string name);
std::string as_text(const _FS_FILE_V2& file);
// Whether a record that an operation filled still has what belongs to the host.
bool keeps_host_members(const _FS_FILE_V2& file);
// "X changed the record although it failed", when it did.
void expect_untouched(std::string_view call, const _FS_FILE_V2& file, const _FS_FILE_V2& before);
