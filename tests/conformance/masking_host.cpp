// A host that happens to export the module's names, with other ideas of what they stand for: functions, data and
// classes. Whatever the module refers to must be its own.
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

struct Lumberjack {  // whose third function has the place of LogV
  virtual void fell() { ++wrong_calls; }
  virtual void trim() { ++wrong_calls; }
  virtual void saw() { ++wrong_calls; }
};
static Lumberjack lumberjack;
HOST_EXPORT Lumberjack* logger = &lumberjack;
HOST_EXPORT unsigned char ll[64] = {
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};  // no mutex at all

// The first function that is no pure one brings a class's table and type information here.
#define HOST_CLASS(name)                              \
  class __attribute__((visibility("default"))) name { \
   public:                                            \
    virtual void own();                               \
  };                                                  \
  void name::own() { ++wrong_calls; }
HOST_CLASS(IRefObject)
HOST_CLASS(IProtocol_V1)
HOST_CLASS(IProtocol_V2)
HOST_CLASS(LocalDisk)

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

static int failures = 0;
static void expect(bool good, const char* what) {
  if (good) return;
  ++failures;
  std::printf("not so: %s\n", what);
}

static bool lies_in(void* module_function, const void* address) {
  Dl_info module{}, found{};
  return ::dladdr(module_function, &module) != 0 && ::dladdr(address, &found) != 0 &&
         module.dli_fbase == found.dli_fbase;
}

// The object's table, the type information before it and that of every class below it: each word that the linker
// fills in points into the module or into the C++ library.
static bool is_whole(void* module_function, const void* object) {
  const void* const* const table = *static_cast<const void* const* const*>(object);
  const void* const* type = static_cast<const void* const*>(table[-1]);
  if (!lies_in(module_function, table)) return false;
  for (int base = 0; base < 4; ++base) {  // a type: its own table, its name, the type that it derives from
    if (!lies_in(module_function, type) || !lies_in(module_function, type[1])) return false;
    type = static_cast<const void* const*>(type[2]);
  }
  return true;
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
  void* const make = ::dlsym(module, "GetProtocol");
  reinterpret_cast<bool (*)(IProtocolManager*, void**)>(make)(&manager, &object);
  if (!is_whole(make, object)) return std::printf("not so: the object's table and types are the module's\n"), 1;

  Log log;
  expect(reinterpret_cast<bool (*)(ILog*)>(::dlsym(module, "BindLogger"))(&log), "a logger is bound");
  expect(logger == &lumberjack && ll[0] == 0xFF, "the host's variables are its own");
  auto* const protocol = static_cast<Protocol*>(object);
  _FS_FILE_V2 file;
  file.name = "absent";
  protocol->Upload("/dev/null", nullptr, nullptr, &file, no_flag, nullptr);
  expect(log.lines == 1, "an upload is announced to the logger that was bound");
  reinterpret_cast<void (*)()>(::dlsym(module, "UnbindLogger"))();
  protocol->Upload("/dev/null", nullptr, nullptr, &file, no_flag, nullptr);
  expect(log.lines == 1, "and to none after that");

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
  expect(wrong_calls == 0, "nothing of the host's was called");
  return failures == 0 ? 0 : 1;
}
