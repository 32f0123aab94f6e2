// Each operation with each of its allocations failing.
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "conformance/fake_host.h"
#include "testing/fault_injection.h"

namespace fs = std::filesystem;

namespace {

// Longer than any string keeps within itself, so that each copy needs memory.
constexpr const char* kName = "a-name-that-no-string-keeps-within-itself";
constexpr const char* kOther = "another-name-that-no-string-keeps-within-itself";
const std::string kContent = "content";

// Callbacks that need no memory: the shortage is for the module alone.
struct QuietHost final : IFileList, IFetchCallback, ICacheIO {
  int entries = 0;
  unsigned long long received = 0;
  int AddFile(_FS_FILE_V2*) override { return ++entries; }
  int OnData(long long, const unsigned char*, unsigned long long length, long long*) override {
    received += length;
    return 0;
  }
  int ReadBlock(_FS_CACHE_REQUEST* request) override {
    std::memcpy(request->buffer, kContent.data(), kContent.size());
    request->delivered = static_cast<long long>(kContent.size());
    return 0;
  }
};

// One operation on a folder that holds the file kName and nothing else.
struct Round {
  explicit Round(Drive& used) : drive(used) {
    for (const auto& entry : fs::directory_iterator(folder)) fs::remove_all(entry.path());
    drive.folder.write(kName, kContent);
    record.path = file;
    record.size = static_cast<long long>(kContent.size());
    before = as_text(record);
  }
  [[nodiscard]] bool has(const char* name) const { return fs::exists(folder + "/" + name); }
  [[nodiscard]] bool is_record_kept() const { return as_text(record) == before; }
  [[nodiscard]] bool is_described(const char* name) const { return record.path == folder + "/" + name; }

  Drive& drive;
  const std::string folder = drive.folder.path();
  const std::string file = drive.folder / kName;
  _FS_FILE_V2 record = marked_record(kOther);
  std::string before, access = "2020-01-02T03:04:05.000Z", modification = access, creation = access;
  std::shared_ptr<_FS_HANDLE> handle = std::make_shared<_FS_HANDLE>();
  QuietHost host;
};

struct Operation {
  const char* name;
  std::vector<int> failures;  // the statuses that a lack of memory may have
  int (*run)(Round&);
  bool (*kept)(const Round&, int status);  // whether the disk, the record and the host saw what the status says
};

const Operation kOperations[] = {
    {"GetFileList",
     {19, 24},
     [](Round& r) { return r.drive->GetFileList(r.folder.c_str(), &r.host, nullptr); },
     [](const Round& r, int status) { return r.host.entries <= 1 && (status != 0 || r.host.entries == 1); }},
    {"GetFileInfo",
     {24},
     [](Round& r) { return r.drive->GetFileInfo(r.file.c_str(), &r.record, nullptr); },
     [](const Round& r, int status) { return status == 0 ? r.is_described(kName) : r.is_record_kept(); }},
    {"Move",
     {24},
     [](Round& r) { return r.drive->Move(r.file.c_str(), r.folder.c_str(), &r.record, nullptr); },
     [](const Round& r, int status) {
       if (status != 0) return r.is_record_kept() && r.has(kName) && !r.has(kOther);
       return (r.is_record_kept() || r.is_described(kOther)) && r.has(kOther) && !r.has(kName);
     }},
    {"CreateDirectory",
     {24},
     [](Round& r) { return r.drive->CreateDirectory(r.folder.c_str(), &r.record, nullptr); },
     [](const Round& r, int status) {
       if (status != 0) return r.is_record_kept() && !r.has(kOther);
       return (r.is_record_kept() || r.is_described(kOther)) && r.has(kOther);
     }},
    {"Delete",
     {24},
     [](Round& r) { return r.drive->Delete(&r.record, nullptr); },
     [](const Round& r, int status) { return r.is_record_kept() && r.has(kName) == (status != 0); }},
    {"SetFileTime",
     {24},
     [](Round& r) {
       return r.drive->SetFileTime(r.file.c_str(), std::move(r.creation), std::move(r.access),
                                   std::move(r.modification), &r.record, nullptr);
     },
     [](const Round& r, int) { return r.is_record_kept(); }},
    {"Read",
     {1, 19, 24},
     [](Round& r) { return r.drive->Read(r.file.c_str(), 0, 7, r.handle, &r.host, nullptr); },
     [](const Round& r, int status) { return r.host.received == (status == 0 ? kContent.size() : 0); }},
    {"Upload",
     {1, 19, 24},
     [](Round& r) { return r.drive->Upload(r.folder.c_str(), r.handle, &r.host, &r.record, kNoFlag, nullptr); },
     [](const Round& r, int status) {
       const bool written = status == 0 || status == 24;  // 24: written, but there was no memory to describe it
       return r.has(kOther) == written && (status != 0 || r.is_described(kOther));
     }},
    {"SetOpt",
     {24},
     [](Round& r) { return r.drive->SetOpt("root_path", r.file.c_str()); },
     [](const Round& r, int status) {
       std::string root(4096, '#');
       int length = 4096;
       EXPECT_EQ(r.drive->GetRootID(root.data(), &length), 0);
       const bool changed = root.substr(0, static_cast<std::size_t>(length)) == r.file;
       EXPECT_EQ(r.drive->SetOpt("root_path", "/"), 0);
       return changed == (status == 0);
     }},
    {"GetUserInfo",
     {24},
     [](Round& r) {
       char text[4096];
       int length = sizeof(text);
       return r.drive->GetUserInfo(text, &length);
     },
     [](const Round&, int) { return true; }},
};

// Answers whether the shortage was felt.
bool run_short(const Operation& operation, Drive& drive, int at, bool for_good) {
  const auto wrong = [&](const std::string& what) {
    harness::fail(__FILE__, __LINE__, fmt::format("{} {} (allocation {})", operation.name, what, at));
  };
  const long blocks = fault_injection::live_blocks();
  bool felt = false;
  {
    Round round(drive);
    const int descriptors = open_descriptors();
    int status = -1;
    {
      const fault_injection::FailAllocation short_of(at, for_good);
      status = operation.run(round);
      felt = fault_injection::FailAllocation::triggered();
    }
    const bool failed = std::count(operation.failures.begin(), operation.failures.end(), status) > 0;
    if (status != 0 && !(felt && failed)) wrong(fmt::format("answers {}", status));
    if (!operation.kept(round, status)) wrong(fmt::format("answers {} and has done something else", status));
    if (open_descriptors() != descriptors) wrong("leaves a descriptor open");
    if (round.handle.use_count() != 1) wrong("keeps a share of the handle");
  }
  if (fault_injection::live_blocks() != blocks) wrong("leaves memory behind");
  return felt;
}

void need_shortage() {
  if (!fault_injection::can_be_made())
    harness::skip("this checker was built with an allocator that can't be taken over");
}

}  // namespace

BOUNDARY_CHECK(short_operations, "memory.operations",
               "An operation that finds no memory says so, leaks nothing and keeps the host's record whole") {
  need_shortage();
  const ScopedEnvironment user("USER", kName);
  const ScopedZone zone("UTC0");  // without a zone the C library allocates its own text anew at every look
  Drive drive;
  for (const Operation& operation : kOperations) {
    {
      Round once(drive);
      operation.run(once);
    }  // makes what is made once in a process
    int felt = 0;
    fault_injection::for_each_allocation([&](int at, bool for_good) {
      const bool again = run_short(operation, drive, at, for_good);
      felt += again ? 1 : 0;
      return again && felt < 1000;
    });
  }
}

BOUNDARY_CHECK(short_entry, "memory.entry", "An entry point that finds no memory makes nothing and says so") {
  need_shortage();
  const auto create = entry<bool(IProtocolManager*, void**)>("GetProtocol");
  const auto name_protocol = entry<void(char**)>("GetSupportProtocol");
  Manager manager;
  manager.pid = kName;
  manager.quiet = true;
  fault_injection::for_each_allocation([&](int at, bool for_good) {
    const long blocks = fault_injection::live_blocks();
    void* object = &manager;
    char* name = nullptr;
    bool made = false, felt = false;
    {
      const fault_injection::FailAllocation short_of(at, for_good);
      made = create(&manager, &object);
      felt = fault_injection::FailAllocation::triggered();
    }
    EXPECT_EQ(made, !felt);
    EXPECT_EQ(object == &manager, !made);
    if (made) static_cast<Protocol*>(object)->Release();
    {
      const fault_injection::FailAllocation short_of(at, for_good);
      name_protocol(&name);
      EXPECT_EQ(name == nullptr, fault_injection::FailAllocation::triggered());
    }
    entry<void(void*)>("FreeP")(name);
    EXPECT_EQ(fault_injection::live_blocks(), blocks);
    return felt;
  });
}

BOUNDARY_CHECK(short_close, "faults.close", "An upload whose file can't be closed has failed and leaves no file") {
  need_shortage();
  Drive drive;
  Source source;
  Transfer transfer;
  source.content = pattern(kChunk + 1);
  int status = 0;
  {
    const fault_injection::FailClose short_of;
    status = drive.upload("f", source, transfer);
  }
  if (!fault_injection::FailClose::triggered()) harness::skip("the module doesn't close its files through fclose");
  EXPECT_EQ(status, 1);
  EXPECT(!fs::exists(drive.folder / "f"));
}
