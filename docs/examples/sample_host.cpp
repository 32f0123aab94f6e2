// A complete host: loads the module, lists a folder and prints a file.
//
//   sample_host MODULE FOLDER FILE
#include <dlfcn.h>

#include <cstdio>
#include <memory>

#include "localdisk/protocol.h"
#include "plugin/entry_points.h"

struct Manager final : IProtocolManager {
  int GetPid(const char*, char*, int*) override { return 0; }  // this host has one object: it needs no name
  int SetValue(const char*, const char*, const char*, int) override { return 0; }
};

struct Printer final : IFileList, IFetchCallback {
  int AddFile(_FS_FILE_V2* file) override {
    return std::printf("%c %12lld %s\n", file->type == FS_TYPE_DIRECTORY ? 'd' : '-', file->size, file->name.c_str());
  }
  int OnData(long long, const unsigned char* data, unsigned long long length, long long*) override {
    return std::fwrite(data, 1, length, stdout) == length ? 0 : 1;
  }
};

int main(int argc, char** argv) {
  if (argc != 4) return std::fprintf(stderr, "usage: sample_host MODULE FOLDER FILE\n"), 2;
  void* const library = ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return std::fprintf(stderr, "%s\n", ::dlerror()), 2;
  const auto create = reinterpret_cast<decltype(&GetProtocol)>(::dlsym(library, "GetProtocol"));
  Manager manager;
  void* object = nullptr;
  if (create == nullptr || !create(&manager, &object)) return std::fprintf(stderr, "not a module\n"), 2;
  auto* const drive = static_cast<IProtocol_V2*>(object);

  Printer printer;
  _FS_FILE_V2 file;
  int status = drive->GetFileList(argv[2], &printer, nullptr);
  if (status == FS_OK) status = drive->GetFileInfo(argv[3], &file, nullptr);
  if (status == FS_OK) {
    status = drive->Read(argv[3], 0, file.size, std::make_shared<_FS_HANDLE>(), &printer, nullptr);
  }
  if (status != FS_OK) std::fprintf(stderr, "status %d\n", status);
  drive->Release();
  return status == FS_OK ? 0 : 1;
}
