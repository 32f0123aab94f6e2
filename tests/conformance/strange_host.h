// What a host built apart has at hand: the loaded module, an object, and host interfaces that tests can script.
#pragma once

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

#include "conformance/contract.h"
#include "testing/temporary_folder.h"

namespace strange_host {

inline constexpr std::size_t chunk_size = 524288;

// The module that the environment variable LOCALDISK_MODULE names, or the one that was built with the tests.
inline void* module() {
  static void* const library = [] {
    const char* const given = std::getenv("LOCALDISK_MODULE");
    void* const opened = ::dlopen(given != nullptr ? given : LOCALDISK_MODULE, RTLD_NOW | RTLD_LOCAL);
    if (opened == nullptr) throw std::runtime_error(::dlerror());
    return opened;
  }();
  return library;
}

template <class Signature>
Signature* entry(const char* name) {
  return reinterpret_cast<Signature*>(::dlsym(module(), name));
}

struct Manager final : IProtocolManager {
  std::string owner;
  std::function<void()> then = [] {};
  int GetPid(const char*, char*, int*) override { return 0; }
  int SetValue(const char* about, const char*, const char*, int) override {
    owner = about;
    then();
    return 0;
  }
};

struct List final : IFileList {
  std::function<void(const _FS_FILE_V2&)> then = [](const _FS_FILE_V2&) {};
  int AddFile(_FS_FILE_V2* file) override {
    then(*file);
    return 0;
  }
};

struct Receiver final : IFetchCallback {
  std::function<void(const unsigned char*)> then = [](const unsigned char*) {};
  int OnData(long long, const unsigned char* data, unsigned long long, long long*) override {
    then(data);
    return 0;
  }
};

// Serves what `then` puts into the request.
struct Source final : ICacheIO {
  std::function<void(_FS_CACHE_REQUEST&)> then;
  explicit Source(std::function<void(_FS_CACHE_REQUEST&)> serve) : then(std::move(serve)) {}
  int ReadBlock(_FS_CACHE_REQUEST* request) override {
    then(*request);
    return 0;
  }
};

struct Log final : ILog {
  std::function<void()> then = [] {};
  void First() override {}
  void Second() override {}
  void LogV(LOGLEVEL, const char*, va_list) override { then(); }
};

// A transfer handle whose reports go to `then`.
struct Handle {
  std::shared_ptr<_FS_HANDLE> shared = std::make_shared<_FS_HANDLE>();
  std::function<void(long long done)> then = [](long long) {};
  Handle() {
    shared->progress_ctx = this;
    shared->progress = [](long long, long long done, void* self, double) { static_cast<Handle*>(self)->then(done); };
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
};

// A folder and an object of the module's.
class Drive {
 public:
  Drive() {
    void* made = nullptr;
    if (!entry<bool(IProtocolManager*, void**)>("GetProtocol")(&manager, &made))
      throw std::runtime_error("no object");
    protocol_ = static_cast<Protocol*>(made);
  }
  ~Drive() { protocol_->Release(); }
  Drive(const Drive&) = delete;
  Drive& operator=(const Drive&) = delete;
  Protocol* operator->() const { return protocol_; }

  [[nodiscard]] int upload(const char* name, long long size, Source& source, const Handle& handle) const {
    _FS_FILE_V2 file;
    file.name = name;
    file.size = size;
    return protocol_->Upload(folder.path().c_str(), handle.shared, &source, &file, no_flag, nullptr);
  }

  TemporaryFolder folder;
  Manager manager;

 private:
  Protocol* protocol_ = nullptr;
};

}  // namespace strange_host
