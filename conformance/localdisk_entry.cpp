// What this module alone promises: its identity, its names and classes, its line for the logger, its utilities.
#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <mutex>

#include "conformance/fake_host.h"

CONFORMANCE_CHECK(localdisk, "entry.exports", "Every name that the module promises is exported") {
  for (const char* name : {
#include "exported_names.inc"
       }) {
    expect(harness::symbol(name) != nullptr, fmt::format("{} is not exported", name));
  }
}

CONFORMANCE_CHECK(localdisk, "entry.identity",
                  "The module says who it is: names, feature mask, what it does not offer") {
  const auto name_type = entry<void(char**)>("GetSupportProtocol");
  char* name = nullptr;
  name_type(&name);
  if (name == nullptr) harness::give_up("GetSupportProtocol gave no name");
  expect_equal("The name of GetSupportProtocol", std::string_view(name), "localdisk");
  entry<void(void*)>("FreeP")(name);
  expect_equal("The answer of GetAuthType", entry<int()>("GetAuthType")(), 0);
  for (const char* fields : {"GetAuthFields", "GetOptFields"}) {
    std::string text = "kept";
    int length = 4;
    expect_status(fields, entry<int(char*, int*)>(fields)(text.data(), &length), FS_ERR_NOT_SUPPORTED);
    expect_status(fmt::format("{} without arguments", fields), entry<int(char*, int*)>(fields)(nullptr, nullptr),
                  FS_ERR_NOT_SUPPORTED);
    expect(length == 4 && text == "kept", fmt::format("{} is not offered and changed its arguments", fields));
  }
  Drive drive;
  expect_equal("The identification that GetPid was called with", drive.manager.module_id,
               "Tolvex3_localdisk.dylib_3.12.237 .0");
  expect_equal("The feature mask", drive->GetFeature(), 64);
  _FS_FILE_V2 file = marked_record("n");
  std::string link = "kept";
  expect_status("SetQuota", drive->SetQuota(1, 2), FS_ERR_NOT_SUPPORTED);
  expect_status("GetChanges", drive->GetChanges(nullptr, &drive.message), FS_ERR_NOT_SUPPORTED);
  expect_status("GetShareableLink", drive->GetShareableLink(&file, link), FS_ERR_NOT_SUPPORTED);
  int length = 77;
  expect_status("GetIdentifier", drive->GetIdentifier(nullptr, &length), FS_OK);
  expect_equal("The length after GetIdentifier", length, 77);
  expect_status("GetIdentifier without arguments", drive->GetIdentifier(nullptr, nullptr), FS_OK);
  expect_status("Connect", drive->Connect(nullptr, "x"), FS_OK);
  expect_status("SetLocalConfiguration", drive->SetLocalConfiguration(nullptr), FS_OK);
  expect_status("SetChangesCallback", drive->SetChangesCallback(nullptr), FS_OK);
}

namespace {

// Type information of a class with one base, as the C++ ABI lays it out.
struct SingleBase {
  const void* table;
  const char* name;
  const SingleBase* base;
};

std::string_view name_of(const SingleBase& type) {
#if defined(__APPLE__) && defined(__aarch64__)
  // The highest bit marks a name that other libraries may have too.
  return reinterpret_cast<const char*>(reinterpret_cast<std::uintptr_t>(type.name) & ~(std::uintptr_t{1} << 63));
#else
  return type.name;
#endif
}

}  // namespace

CONFORMANCE_CHECK(localdisk, "entry.table",
                  "The table holds 27 operations and two destructors, under four class names") {
  Manager manager;
  void* object = nullptr;
  const auto create = entry<CreateObject>("GetProtocol");
  if (!create(&manager, &object)) harness::give_up("GetProtocol made no object");
  void** const slots = *static_cast<void***>(object);
  const auto* type = static_cast<const SingleBase*>(slots[-1]);
  expect(slots[-2] == nullptr, "The table belongs to a part of the object and not to its start");
  for (const char* name : {"9LocalDisk", "12IProtocol_V2", "12IProtocol_V1", "10IRefObject"}) {
    expect_equal("A class name of the object", name_of(*type), name);
    if (std::string_view(name) != "10IRefObject") type = type->base;
  }
  Dl_info table{};
  if (::dladdr(slots, &table) == 0 || table.dli_sname == nullptr) harness::give_up("The table has no name");
  expect_equal("The name of the table", std::string_view(table.dli_sname), "_ZTV9LocalDisk");
  // The last entry destroys and frees; the one before it destroys and leaves the memory to the caller.
  reinterpret_cast<void (*)(void*)>(slots[28])(object);
  if (!create(&manager, &object)) harness::give_up("GetProtocol made no object");
  reinterpret_cast<void (*)(void*)>(slots[27])(object);
  ::operator delete(object);
}

CONFORMANCE_CHECK(localdisk, "logger.line", "Each upload writes one line to the logger, whatever comes of it") {
  auto* const logger = entry<ILog*>("logger");
  expect(*logger == nullptr, "A logger is bound from the start");
  expect(entry<std::mutex>("ll")->try_lock(), "The lock of the logger is held from the start");
  entry<std::mutex>("ll")->unlock();
  Drive drive;
  Source source;
  Transfer transfer;
  Log log;
  expect(entry<bool(ILog*)>("BindLogger")(&log) && *logger == &log, "BindLogger did not bind the logger");
  _FS_FILE_V2 file;
  file.name = "b.txt";
  const auto upload = [&](const std::shared_ptr<_FS_HANDLE>& handle) {
    return drive->Upload("/no/such", handle, &source, &file, some_flag, &drive.message);
  };
  expect_status("Upload into a missing folder", upload(transfer.handle), FS_ERR_NOT_FOUND);
  expect_status("Upload without a handle", upload(nullptr), FS_ERR_INVALID_ARG);
  expect_equal("The number of lines of two uploads", log.lines.size(), 2U);
  for (const std::string& line : log.lines)
    expect_equal("The level, the format and the text of a line", line,
                 "2 [PROTOCOL  ] Upload %s/%s -> [PROTOCOL  ] Upload /no/such/b.txt");
  entry<void()>("UnbindLogger")();
  expect(*logger == nullptr, "A logger is bound after UnbindLogger");
}

CONFORMANCE_CHECK(localdisk, "entry.utilities", "Decorated utilities are there and work") {
  const auto memrchr = reinterpret_cast<void* (*)(const void*, int, unsigned long)>(entry<void>("_Z7memrchrPKvim"));
  const auto normalize =
      reinterpret_cast<char* (*)(const char*, unsigned long)>(entry<void>("_Z14normalize_pathPKcm"));
  const char text[] = "abca";
  expect(memrchr(text, 'a', 4) == text + 3 && memrchr(text, 'a', 3) == text && memrchr(text, 0x161, 4) == text + 3,
         "memrchr found another byte than the last of its value");
  expect(memrchr(text, 'z', 4) == nullptr && memrchr(text, 'a', 0) == nullptr && memrchr(nullptr, 0, 0) == nullptr,
         "memrchr found a byte that is not there");
  char* const path = normalize("/abc/def", 4);
  expect_equal("The first four bytes of '/abc/def', normalized", std::string_view(path), "/abc");
  std::free(path);
}
