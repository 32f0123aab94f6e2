// Entry points, the object's table and its type information, the logger.
#include <dlfcn.h>

#include <cstring>
#include <mutex>
#include <typeinfo>

#include "conformance/fake_host.h"

BOUNDARY_CHECK(exports, "entry.exports", "Every name that the contract lists is exported") {
  for (const char* name : {
#include "exported_names.inc"
       }) {
    if (harness::symbol(name) == nullptr) harness::fail(__FILE__, __LINE__, fmt::format("{} is not exported", name));
  }
}

BOUNDARY_CHECK(name_and_fields, "entry.name", "The module names its protocol in memory that FreeP takes back") {
  const auto support = entry<void(char**)>("GetSupportProtocol");
  const auto release = entry<void(void*)>("FreeP");
  support(nullptr);
  release(nullptr);
  char *first = nullptr, *second = nullptr;
  support(&first);
  support(&second);
  EXPECT(first != nullptr && second != nullptr && first != second);
  if (first != nullptr) EXPECT_EQ(std::string_view(first), "localdisk");
  release(first);
  release(second);
  EXPECT_EQ(entry<int()>("GetAuthType")(), 0);
  for (const char* name : {"GetAuthFields", "GetOptFields"}) {
    char text[] = "kept";
    int length = 4;
    EXPECT_EQ(entry<int(char*, int*)>(name)(text, &length), 8);
    EXPECT_EQ(entry<int(char*, int*)>(name)(nullptr, nullptr), 8);
    EXPECT(length == 4 && std::string_view(text) == "kept");
  }
}

BOUNDARY_CHECK(creation, "entry.object", "GetProtocol makes independent objects and reports every failure as false") {
  const auto create = entry<bool(IProtocolManager*, void**)>("GetProtocol");
  Manager manager;
  void* untouched = &manager;
  EXPECT(!create(nullptr, &untouched) && !create(&manager, nullptr));
  manager.throws = true;
  EXPECT(!create(&manager, &untouched));
  EXPECT(untouched == &manager);
  manager.throws = false;
  void *first = nullptr, *second = nullptr;
  EXPECT(create(&manager, &first) && create(&manager, &second) && first != second);
  EXPECT_EQ(manager.module_id, "Tolvex3_localdisk.dylib_3.12.237 .0");
  static_cast<Protocol*>(first)->Release();
  EXPECT_EQ(static_cast<Protocol*>(second)->GetFeature(), 64);
  static_cast<Protocol*>(second)->Release();
}

namespace {

// Type information of a class with one base, as the C++ ABI lays it out.
struct SingleBase {
  const void* table;
  const char* name;
  const SingleBase* base;
};

}  // namespace

BOUNDARY_CHECK(table, "entry.table", "The table holds 27 operations and two destructors under the four class names") {
  Manager manager;
  void* object = nullptr;
  EXPECT(entry<bool(IProtocolManager*, void**)>("GetProtocol")(&manager, &object));
  void** const slots = *static_cast<void***>(object);
  const auto* type = static_cast<const SingleBase*>(slots[-1]);
  EXPECT_EQ(reinterpret_cast<std::ptrdiff_t>(slots[-2]), 0);
  for (const char* name : {"9LocalDisk", "12IProtocol_V2", "12IProtocol_V1", "10IRefObject"}) {
    EXPECT_EQ(std::string_view(type->name), name);
    if (std::string_view(name) != "10IRefObject") type = type->base;
  }
  Dl_info table{};
  EXPECT(::dladdr(slots, &table) != 0 && table.dli_sname != nullptr);
  if (table.dli_sname != nullptr) EXPECT_EQ(std::string_view(table.dli_sname), "_ZTV9LocalDisk");
  // The last entry destroys and frees; the one before it destroys and leaves the memory to the caller.
  reinterpret_cast<void (*)(void*)>(slots[28])(object);
  EXPECT(entry<bool(IProtocolManager*, void**)>("GetProtocol")(&manager, &object));
  reinterpret_cast<void (*)(void*)>(slots[27])(object);
  ::operator delete(object);
}

BOUNDARY_CHECK(constants, "entry.constants", "What the protocol does not offer says so and touches nothing") {
  Drive drive;
  char *type = nullptr, *again = nullptr;
  EXPECT_EQ(drive->GetType(&type), 0);
  EXPECT_EQ(drive->GetType(&again), 0);
  EXPECT(type == again && std::string_view(type) == "localdisk");
  EXPECT_EQ(drive->SetQuota(1, 2), 8);
  EXPECT_EQ(drive->GetChanges(nullptr, &drive.message), 8);
  std::string link = "kept";
  _FS_FILE_V2 file = marked_record("n");
  EXPECT_EQ(drive->GetShareableLink(&file, link), 8);
  EXPECT_EQ(link, "kept");
  int length = 77;
  EXPECT_EQ(drive->GetIdentifier(nullptr, &length), 0);
  EXPECT_EQ(length, 77);
  EXPECT_EQ(drive->GetIdentifier(nullptr, nullptr), 0);
  EXPECT_EQ(drive->Connect(nullptr, "x"), 0);
  EXPECT_EQ(drive->SetLocalConfiguration(nullptr), 0);
  EXPECT_EQ(drive->SetChangesCallback(nullptr), 0);
  EXPECT_EQ(drive->GetFeature(), 64);
  drive->FreeMsg(nullptr);
  drive->FreeMsg(::strdup("a message"));
}

BOUNDARY_CHECK(nulls, "entry.nulls", "An argument that is missing is refused, never followed") {
  Drive drive;
  Source source;
  Receiver receiver;
  Transfer transfer;
  Entries entries;
  _FS_FILE_V2 file = marked_record("n");
  const char* const folder = drive.folder.path().c_str();
  for (const int status :
       {drive->GetFileList(nullptr, &entries, nullptr), drive->GetFileList(folder, nullptr, nullptr),
        drive->GetFileInfo(nullptr, &file, nullptr), drive->GetFileInfo(folder, nullptr, nullptr),
        drive->Move(nullptr, folder, &file, nullptr), drive->Rename(folder, nullptr, &file, nullptr),
        drive->MoveDir(folder, folder, nullptr, nullptr), drive->CreateDirectory(nullptr, &file, nullptr),
        drive->CreateDirectory(folder, nullptr, nullptr), drive->Delete(nullptr, nullptr),
        drive->DeleteDirectory(nullptr, nullptr), drive->SetFileTime(nullptr, "", "", "", &file, nullptr),
        drive->Read(nullptr, 0, 1, transfer.handle, &receiver, nullptr),
        drive->Read("/dev/zero", 0, 1, transfer.handle, nullptr, nullptr),
        drive->Upload(nullptr, transfer.handle, &source, &file, kNoFlag, nullptr),
        drive->Upload(folder, transfer.handle, nullptr, &file, kNoFlag, nullptr),
        drive->Upload(folder, transfer.handle, &source, nullptr, kNoFlag, nullptr)}) {
    EXPECT_EQ(status, 6);
  }
  EXPECT_EQ(as_text(file), as_text(marked_record("n")));
  EXPECT_EQ(drive->GetFileList(folder, &entries, nullptr), 0);
  EXPECT_EQ(entries.calls, 0);
}

BOUNDARY_CHECK(binding, "logger.binding", "A bound logger gets one line an upload, whatever the upload's outcome") {
  const auto bind = entry<bool(ILog*)>("BindLogger");
  const auto unbind = entry<void()>("UnbindLogger");
  auto* const logger = entry<ILog*>("logger");
  EXPECT(*logger == nullptr && entry<std::mutex>("ll")->try_lock());
  entry<std::mutex>("ll")->unlock();
  Drive drive;
  Source source;
  Transfer transfer;
  Log log;
  EXPECT(bind(&log) && !bind(nullptr) && *logger == &log);
  _FS_FILE_V2 file;
  file.name = "b.txt";
  EXPECT_EQ(drive->Upload("/no/such", transfer.handle, &source, &file, kSomeFlag, &drive.message), 19);
  EXPECT_EQ(drive->Upload("/no/such", nullptr, &source, &file, kSomeFlag, &drive.message), 6);
  EXPECT_EQ(log.lines.size(), 2U);
  for (const std::string& line : log.lines) {
    EXPECT_EQ(line, "2 [PROTOCOL  ] Upload %s/%s -> [PROTOCOL  ] Upload /no/such/b.txt");
  }
  log.then = [] { throw HostError{}; };
  source.content = "x";
  EXPECT_EQ(drive.upload("c", source, transfer), 0);
  EXPECT_EQ(log.lines.size(), 3U);
  Log other;
  EXPECT(bind(&other));
  EXPECT_EQ(drive.upload("c", source, transfer), 0);
  unbind();
  EXPECT(*logger == nullptr);
  EXPECT_EQ(drive.upload("c", source, transfer), 0);
  EXPECT_EQ(log.lines.size() + other.lines.size(), 4U);
}

BOUNDARY_CHECK(utilities, "entry.utilities", "Decorated utilities are there and work") {
  void* const search = harness::symbol("_Z7memrchrPKvim");
  void* const normalize = harness::symbol("_Z14normalize_pathPKcm");
  EXPECT(search != nullptr && normalize != nullptr && harness::symbol("_Z11RFC3339ToTMPKc") != nullptr);
  if (search == nullptr || normalize == nullptr) return;
  const auto memrchr = reinterpret_cast<void* (*)(const void*, int, unsigned long)>(search);
  const char text[] = "abca";
  EXPECT(memrchr(text, 'a', 4) == text + 3 && memrchr(text, 'a', 3) == text && memrchr(text, 'z', 4) == nullptr);
  EXPECT(memrchr(text, 0x161, 4) == text + 3 && memrchr(text, 'a', 0) == nullptr &&
         memrchr(nullptr, 0, 0) == nullptr);
  char* const path = reinterpret_cast<char* (*)(const char*, unsigned long)>(normalize)("/abc/def", 4);
  EXPECT_EQ(std::string_view(path), "/abc");
  std::free(path);
}
