// A process that holds the module twice, both copies opened globally: each has a binding of its own.
#include <dlfcn.h>

#include <array>
#include <cstdio>
#include <filesystem>

#include "conformance/contract.h"
#include "testing/temporary_folder.h"

namespace {

struct Manager final : IProtocolManager {
  int GetPid(const char*, char*, int*) override { return 0; }
  int SetValue(const char*, const char*, const char*, int) override { return 0; }
};

struct Log final : ILog {
  int lines = 0;
  void First() override {}
  void Second() override {}
  void LogV(LOGLEVEL, const char*, va_list) override { ++lines; }
};

struct Copy {
  explicit Copy(const std::string& path) : library(::dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL)) {
    if (library == nullptr) throw std::runtime_error(::dlerror());
    function<bool(IProtocolManager*, void**)>("GetProtocol")(&manager, &object);
  }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;
  ~Copy() {
    static_cast<Protocol*>(object)->Release();
    ::dlclose(library);
  }
  template <class Signature>
  Signature* function(const char* name) const {
    return reinterpret_cast<Signature*>(::dlsym(library, name));
  }
  void announce() const {  // an upload that goes no further than its line
    _FS_FILE_V2 file;
    static_cast<Protocol*>(object)->Upload("/", nullptr, nullptr, &file, no_flag, nullptr);
  }

  Manager manager;
  void* library;
  void* object = nullptr;
};

int failures = 0;
void expect_lines(const std::array<Log, 2>& logs, int first, int second, const char* when) {
  if (logs[0].lines == first && logs[1].lines == second) return;
  ++failures;
  std::printf("%s: %d and %d lines, not %d and %d\n", when, logs[0].lines, logs[1].lines, first, second);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const TemporaryFolder folder;
  std::filesystem::copy_file(argv[1], folder / "first.so");
  std::filesystem::copy_file(argv[1], folder / "second.so");
  const Copy first(folder / "first.so");
  const Copy second(folder / "second.so");
  std::array<Log, 2> logs;
  const auto announce_both = [&] {
    first.announce();
    second.announce();
  };
  first.function<bool(ILog*)>("BindLogger")(logs.data());
  announce_both();
  expect_lines(logs, 1, 0, "one copy bound");
  second.function<bool(ILog*)>("BindLogger")(&logs[1]);
  announce_both();
  expect_lines(logs, 2, 1, "both bound");
  first.function<void()>("UnbindLogger")();
  announce_both();
  expect_lines(logs, 2, 2, "one unbound");
  second.function<void()>("UnbindLogger")();
  return failures == 0 ? 0 : 1;
}
