// A host that happens to export functions of the module's names, with other ideas of what they do. The module's own
// calls must not reach them.
#include <dlfcn.h>
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "conformance/contract.h"

#define HOST_EXPORT __attribute__((visibility("default"), used))

static int wrong_calls = 0;

HOST_EXPORT std::string TMToRFC3339(tm* /*t*/) {
  ++wrong_calls;
  return "the host's";
}
HOST_EXPORT char* normalize_path(const char* /*path*/, unsigned long /*length*/) {
  ++wrong_calls;
  return ::strdup("/the/host's");
}

struct Manager final : IProtocolManager {
  int GetPid(const char*, char*, int*) override { return 0; }
  int SetValue(const char*, const char*, const char*, int) override { return 0; }
};

static int failures = 0;
static void expect(bool good, const char* what) {
  if (good) return;
  ++failures;
  std::printf("not so: %s\n", what);
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  // Global, after the executable: the order in which a masked name would be found.
  void* const module = ::dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
  if (module == nullptr) return std::printf("%s\n", ::dlerror()), 1;
  expect(::dlsym(RTLD_DEFAULT, "_Z14normalize_pathPKcm") == reinterpret_cast<void*>(&normalize_path),
         "the host's normalize_path is the one that the process finds");
  Manager manager;
  void* object = nullptr;
  reinterpret_cast<bool (*)(IProtocolManager*, void**)>(::dlsym(module, "GetProtocol"))(&manager, &object);
  auto* const protocol = static_cast<Protocol*>(object);
  _FS_FILE_V2 file;
  expect(protocol->GetFileInfo("//dev/./shm/../null", &file, nullptr) == 0, "the module normalises by itself");
  expect(file.path == "/dev/null" && file.mtime.size() == 24, "the module prints times by itself");
  file = {};
  expect(protocol->SetOpt("root_path", "/") == 0 && protocol->GetFileInfo("/", &file, nullptr) == 0 && file.type == 2,
         "the root is found");
  protocol->Release();
  using Print = std::string(long);
#if defined(_LIBCPP_VERSION)
  auto* const print = reinterpret_cast<Print*>(::dlsym(module, "_Z13TimeToRFC3339l"));
#else
  auto* const print = reinterpret_cast<Print*>(::dlsym(module, "_Z13TimeToRFC3339B5cxx11l"));
#endif
  expect(print != nullptr && print(0) == "1970-01-01T00:00:00.000Z", "one utility calls another of the module's");
  expect(wrong_calls == 0, "none of the host's functions was called");
  return failures == 0 ? 0 : 1;
}
