// Each operation with each of its allocations failing.
#include <algorithm>
#include <cstring>

#include "conformance/disk_host.h"
#include "testing/fault_injection.h"

namespace {

// Longer than any string keeps within itself, so that each copy needs memory.
constexpr const char* first_name = "a-name-that-no-string-keeps-within-itself";
constexpr const char* second_name = "another-name-that-no-string-keeps-within-itself";
const std::string old_content = "content";

// Callbacks that need no memory: the fault is for the module alone.
struct QuietHost final : IFileList, IFetchCallback, ICacheIO {
  int entries = 0;
  unsigned long long received = 0;
  int AddFile(_FS_FILE_V2*) override { return ++entries; }
  int OnData(long long, const unsigned char*, unsigned long long length, long long*) override {
    received += length;
    return 0;
  }
  int ReadBlock(_FS_CACHE_REQUEST* request) override {
    std::memcpy(request->buffer, old_content.data(), old_content.size());
    request->delivered = static_cast<long long>(old_content.size());
    return 0;
  }
};

// One operation on a folder that holds the file first_name and nothing else.
struct Round {
  explicit Round(DiskDrive& used) : drive(used) {
    for (const auto& entry : fs::directory_iterator(folder)) fs::remove_all(entry.path());
    drive.write(first_name, old_content);
    record.path = file;
    record.size = static_cast<long long>(old_content.size());
    before = as_text(record);
  }
  [[nodiscard]] bool has(const char* name) const { return fs::exists(folder + "/" + name); }
  [[nodiscard]] bool is_record_kept() const { return as_text(record) == before; }
  [[nodiscard]] bool is_described(const char* name) const { return record.path == folder + "/" + name; }

  DiskDrive& drive;
  const std::string folder = drive.folder;
  const std::string file = drive / first_name;
  _FS_FILE_V2 record = marked_record(second_name);
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

const Operation operations[] = {
    {"GetFileList",
     {19, 24},
     [](Round& r) { return r.drive->GetFileList(r.folder.c_str(), &r.host, nullptr); },
     [](const Round& r, int status) { return r.host.entries <= 1 && (status != 0 || r.host.entries == 1); }},
    {"GetFileInfo",
     {24},
     [](Round& r) { return r.drive->GetFileInfo(r.file.c_str(), &r.record, nullptr); },
     [](const Round& r, int status) { return status == 0 ? r.is_described(first_name) : r.is_record_kept(); }},
    {"Move",
     {24},
     [](Round& r) { return r.drive->Move(r.file.c_str(), r.folder.c_str(), &r.record, nullptr); },
     [](const Round& r, int status) {
       if (status != 0) return r.is_record_kept() && r.has(first_name) && !r.has(second_name);
       return (r.is_record_kept() || r.is_described(second_name)) && r.has(second_name) && !r.has(first_name);
     }},
    {"CreateDirectory",
     {24},
     [](Round& r) { return r.drive->CreateDirectory(r.folder.c_str(), &r.record, nullptr); },
     [](const Round& r, int status) {
       if (status != 0) return r.is_record_kept() && !r.has(second_name);
       return (r.is_record_kept() || r.is_described(second_name)) && r.has(second_name);
     }},
    {"Delete",
     {24},
     [](Round& r) { return r.drive->Delete(&r.record, nullptr); },
     [](const Round& r, int status) { return r.is_record_kept() && r.has(first_name) == (status != 0); }},
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
     [](const Round& r, int status) { return r.host.received == (status == 0 ? old_content.size() : 0); }},
    {"Upload",
     {1, 19, 24},
     [](Round& r) { return r.drive->Upload(r.folder.c_str(), r.handle, &r.host, &r.record, no_flag, nullptr); },
     [](const Round& r, int status) {
       const bool written = status == 0 || status == 24;  // 24: written, but there was no memory to describe it
       return r.has(second_name) == written && (status != 0 || r.is_described(second_name));
     }},
    {"SetOpt",
     {24},
     [](Round& r) { return r.drive->SetOpt("root_path", r.file.c_str()); },
     [](const Round& r, int status) {
       std::string root(4096, '#');
       int length = 4096;
       expect_status("GetRootID", r.drive->GetRootID(root.data(), &length), FS_OK);
       const bool changed = root.substr(0, static_cast<std::size_t>(length)) == r.file;
       expect_status("SetOpt", r.drive->SetOpt("root_path", "/"), FS_OK);
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

// Answers whether the failure was met.
bool run_failing(const Operation& operation, DiskDrive& drive, int at, bool for_good) {
  const auto wrong = [&](const std::string& what) {
    harness::fail(fmt::format("{} whose allocation {} fails {}", operation.name, at, what));
  };
  const long blocks = fault_injection::live_blocks();
  bool triggered = false;
  {
    Round round(drive);
    const int descriptors = open_descriptors();
    int status = -1;
    {
      const fault_injection::FailAllocation failing(at, for_good);
      status = operation.run(round);
      triggered = fault_injection::FailAllocation::triggered();
    }
    const bool failed = std::count(operation.failures.begin(), operation.failures.end(), status) > 0;
    if (status != 0 && !(triggered && failed)) wrong(fmt::format("answered {}", status_text(status)));
    if (!operation.kept(round, status)) wrong(fmt::format("answered {} and did something else", status_text(status)));
    if (open_descriptors() != descriptors) wrong("left a descriptor open");
    if (round.handle.use_count() != 1) wrong("kept a share of the handle");
  }
  if (fault_injection::live_blocks() != blocks) wrong("left memory behind");
  return triggered;
}

void need_faults() {
  if (!fault_injection::can_be_made())
    harness::skip("This program was built with a sanitizer, which has taken the allocator already");
}

}  // namespace

CONFORMANCE_CHECK(disk, "memory.operations",
                  "An operation that finds no memory says so, leaks nothing and keeps the host's record whole") {
  need_faults();
  const ScopedEnvironment user("USER", first_name);
  const ScopedZone zone("UTC0");  // without a zone the C library allocates its own text anew at every look
  DiskDrive drive;
  for (const Operation& operation : operations) {
    {
      Round once(drive);
      operation.run(once);
    }  // makes what is made once in a process
    int triggered = 0;
    fault_injection::for_each_allocation([&](int at, bool for_good) {
      const bool again = run_failing(operation, drive, at, for_good);
      triggered += again ? 1 : 0;
      return again && triggered < 1000;
    });
  }
}

CONFORMANCE_CHECK(disk, "memory.entry", "An entry point that finds no memory makes nothing and says so") {
  need_faults();
  const auto create = entry<CreateObject>("GetProtocol");
  const auto name_protocol = entry<void(char**)>("GetSupportProtocol");
  Manager manager;
  manager.pid = first_name;
  manager.quiet = true;
  fault_injection::for_each_allocation([&](int at, bool for_good) {
    const long blocks = fault_injection::live_blocks();
    void* object = &manager;
    char* name = nullptr;
    bool made = false, triggered = false;
    {
      const fault_injection::FailAllocation failing(at, for_good);
      made = create(&manager, &object);
      triggered = fault_injection::FailAllocation::triggered();
    }
    expect(made == !triggered, "GetProtocol answered true without the memory that it asked for, or false with it");
    expect((object == &manager) == !made, "GetProtocol answered false and stored an object");
    if (made) static_cast<Protocol*>(object)->Release();
    {
      const fault_injection::FailAllocation failing(at, for_good);
      name_protocol(&name);
      expect((name == nullptr) == fault_injection::FailAllocation::triggered(),
             "GetSupportProtocol stored something else than null without memory");
    }
    entry<void(void*)>("FreeP")(name);
    expect(fault_injection::live_blocks() == blocks, "An entry point that found no memory left some behind");
    return triggered;
  });
}
