// What every module does: entry points, options, the answers about the account, the logger.
#include <cstring>

#include "conformance/fake_host.h"

CONFORMANCE_CHECK(contract, "entry.points", "The eight entry points are exported under their plain names") {
  for (const char* name : {"GetProtocol", "GetSupportProtocol", "FreeP", "GetAuthType", "GetAuthFields",
                           "GetOptFields", "BindLogger", "UnbindLogger"})
    expect(harness::symbol(name) != nullptr, fmt::format("{} is not exported", name));
}

CONFORMANCE_CHECK(contract, "entry.name",
                  "The module's name is a copy that FreeP takes back, and the object's type") {
  const auto name_type = entry<void(char**)>("GetSupportProtocol");
  const auto release = entry<void(void*)>("FreeP");
  release(nullptr);
  name_type(nullptr);
  char *first = nullptr, *second = nullptr;
  name_type(&first);
  name_type(&second);
  if (first == nullptr || second == nullptr) harness::give_up("GetSupportProtocol gave no name");
  expect(first != second, "GetSupportProtocol gave the same memory twice");
  const std::string name = first;
  expect(!name.empty() && name == second, "GetSupportProtocol gave an empty name, or two different ones");
  std::memset(first, '#', name.size());
  release(first);
  release(second);
  Drive drive;
  char *type = nullptr, *again = nullptr;
  expect_status("GetType", drive->GetType(&type), FS_OK);
  expect_status("GetType", drive->GetType(&again), FS_OK);
  if (type == nullptr) harness::give_up("GetType stored no text");
  expect_equal("The text of GetType", std::string_view(type), name);
  expect(type == again, "GetType gave another text the second time, and it is never freed");
}

CONFORMANCE_CHECK(contract, "entry.fields", "The kind of authentication stays the same; fields have a length") {
  const auto kind = entry<int()>("GetAuthType");
  expect_equal("The second answer of GetAuthType", kind(), kind());
  for (const char* name : {"GetAuthFields", "GetOptFields"}) {
    const auto ask = entry<int(char*, int*)>(name);
    std::string text(4, '#');
    int length = 0;
    const int status = ask(text.data(), &length);
    expect_status(fmt::format("{} with room for nothing", name), status,
                  {FS_OK, FS_ERR_BUFFER_TOO_SMALL, FS_ERR_NOT_SUPPORTED});
    expect(text == "####", fmt::format("{} wrote into a buffer that has room for nothing", name));
    expect(length == 0 || status == FS_ERR_BUFFER_TOO_SMALL, fmt::format("{} stored a length of nothing", name));
    expect_status(fmt::format("{} without a length", name), ask(text.data(), nullptr),
                  {FS_ERR_INVALID_ARG, FS_ERR_NOT_SUPPORTED});
  }
}

CONFORMANCE_CHECK(contract, "entry.object", "GetProtocol makes independent objects and says false to what can't be") {
  const auto create = entry<CreateObject>("GetProtocol");
  Manager manager;
  void* untouched = &manager;
  expect(!create(nullptr, &untouched), "GetProtocol answered true without a manager");
  expect(!create(&manager, nullptr), "GetProtocol answered true without a place for the object");
  expect(untouched == &manager, "GetProtocol answered false and stored an object");
  void *first = nullptr, *second = nullptr;
  if (!create(&manager, &first) || !create(&manager, &second) || first == nullptr || second == nullptr)
    harness::give_up("GetProtocol made no object");
  expect(manager.pids_asked <= 2, "GetPid was called more than once for an object");
  expect(first != second, "GetProtocol gave the same object twice");
  const int mask = static_cast<Protocol*>(second)->GetFeature();
  static_cast<Protocol*>(first)->Release();
  expect_equal("The feature mask after another object's Release", static_cast<Protocol*>(second)->GetFeature(), mask);
  static_cast<Protocol*>(second)->Release();
  manager.throws = true;
  manager.pids_asked = 0;
  if (create(&manager, &untouched)) {
    expect(manager.pids_asked == 0, "GetProtocol answered true although GetPid threw");
    static_cast<Protocol*>(untouched)->Release();
  } else {
    expect(untouched == &manager, "GetProtocol answered false and stored an object");
  }
}

CONFORMANCE_CHECK(contract, "entry.nulls",
                  "An argument that an operation can't do without is refused when it is null") {
  Drive drive;
  Source source;
  Receiver receiver;
  Transfer transfer;
  Entries entries;
  const std::string path = drive.make_file("file", "abc");
  const char* const folder = drive.folder.c_str();
  const char* const there = path.c_str();
  _FS_FILE_V2 file = marked_record("n");
  const auto refused = [](std::string_view call, int status) {
    expect_status(call, status, {FS_ERR_INVALID_ARG, FS_ERR_NOT_SUPPORTED});
  };
  refused("GetFileList without a path", drive->GetFileList(nullptr, &entries, nullptr));
  refused("GetFileList without a list", drive->GetFileList(folder, nullptr, nullptr));
  refused("GetFileInfo without a path", drive->GetFileInfo(nullptr, &file, nullptr));
  refused("GetFileInfo without a record", drive->GetFileInfo(there, nullptr, nullptr));
  refused("Move without a path", drive->Move(nullptr, folder, &file, nullptr));
  refused("Rename without a parent", drive->Rename(there, nullptr, &file, nullptr));
  refused("MoveDir without a record", drive->MoveDir(there, folder, nullptr, nullptr));
  refused("CreateDirectory without a parent", drive->CreateDirectory(nullptr, &file, nullptr));
  refused("CreateDirectory without a record", drive->CreateDirectory(folder, nullptr, nullptr));
  refused("Delete without a record", drive->Delete(nullptr, nullptr));
  refused("DeleteDirectory without a record", drive->DeleteDirectory(nullptr, nullptr));
  refused("SetFileTime without a path", drive->SetFileTime(nullptr, "", "", "", &file, nullptr));
  refused("Read without a path", drive->Read(nullptr, 0, 1, transfer.handle, &receiver, nullptr));
  refused("Read without a receiver", drive->Read(there, 0, 1, transfer.handle, nullptr, nullptr));
  refused("Read without a handle", drive->Read(there, 0, 1, nullptr, &receiver, nullptr));
  refused("Upload without a parent", drive->Upload(nullptr, transfer.handle, &source, &file, no_flag, nullptr));
  refused("Upload without a source", drive->Upload(folder, transfer.handle, nullptr, &file, no_flag, nullptr));
  refused("Upload without a record", drive->Upload(folder, transfer.handle, &source, nullptr, no_flag, nullptr));
  refused("Upload without a handle", drive->Upload(folder, nullptr, &source, &file, no_flag, nullptr));
  refused("SetOpt without a key", drive->SetOpt(nullptr, "value"));
  refused("SetOpt without a value", drive->SetOpt("key", nullptr));
  refused("GetType without a place for the text", drive->GetType(nullptr));
  expect_untouched("A call without one of its arguments", file, marked_record("n"));
  expect_status("GetFileList without a message", drive->GetFileList(folder, &entries, nullptr), FS_OK);
  expect_equal("The number of entries after refused calls", entries.calls, 1);
}

CONFORMANCE_CHECK(contract, "account.options",
                  "An option that nobody knows is ignored; messages and masks are plain") {
  Drive drive;
  expect_status("SetOpt of a key that nobody knows", drive->SetOpt("no such option", "value"), FS_OK);
  expect_equal("The second answer of GetFeature", drive->GetFeature(), drive->GetFeature());
  drive->FreeMsg(nullptr);
  drive->FreeMsg(::strdup("a message"));
  unsigned long long total = 0, used = 0;
  const int status = drive->GetQuota(&total, &used);
  expect_status("GetQuota", status, {FS_OK, FS_ERR_NOT_SUPPORTED, FS_ERR_OPERATION_FAILED});
  expect(used <= total, "GetQuota counted more bytes in use than there are in all");
  expect_status("GetQuota without places for its counts", drive->GetQuota(nullptr, nullptr), status);
}

CONFORMANCE_CHECK(contract, "account.offered", "An operation that is not offered says so and touches nothing") {
  Drive drive;
  const auto answered = [](std::string_view call, int status) {
    expect_status(call, status, {FS_OK, FS_ERR_NOT_SUPPORTED, FS_ERR_OPERATION_FAILED});
    return status == FS_ERR_NOT_SUPPORTED;
  };
  std::string link = "kept";
  _FS_FILE_V2 file = marked_record("n");
  file.path = drive.folder;
  const std::string before = as_text(file);
  if (answered("GetShareableLink", drive->GetShareableLink(&file, link)))
    expect(link == "kept" && as_text(file) == before, "GetShareableLink is not offered and changed its arguments");
  int length = 77;
  if (answered("GetIdentifier", drive->GetIdentifier(nullptr, &length)))
    expect(length == 77, "GetIdentifier is not offered and stored a length");
  answered("SetQuota", drive->SetQuota(1, 2));
  answered("GetChanges", drive->GetChanges(nullptr, &drive.message));
  answered("Connect", drive->Connect(nullptr, "text"));
}

CONFORMANCE_CHECK(contract, "account.texts", "A text goes into a buffer that holds it, without a terminator") {
  Drive drive;
  struct Query {
    const char* name;
    int (Protocol::*ask)(char*, int*);
  };
  for (const auto& [name, ask] :
       {Query{"GetUserInfo", &Protocol::GetUserInfo}, {"GetRootID", &Protocol::GetRootID}}) {
    std::string buffer(8192, '#');
    int length = static_cast<int>(buffer.size());
    const int status = ((*drive.operator->()).*ask)(buffer.data(), &length);
    if (status == FS_ERR_NOT_SUPPORTED) continue;
    expect_status(fmt::format("{} with a large buffer", name), status, FS_OK);
    if (length < 0 || length > 8192) harness::give_up(fmt::format("{} stored a length of {}", name, length));
    const std::string value = buffer.substr(0, static_cast<std::size_t>(length));
    const std::string untouched(buffer.size(), '#');
    for (const int capacity : {length, length - 1, 0, -1}) {
      if (length == 0 && capacity == 0) continue;
      buffer = untouched;
      int stored = capacity;
      const bool fits = capacity == length;
      expect_status(fmt::format("{} with room for {} of {} bytes", name, capacity, length),
                    ((*drive.operator->()).*ask)(buffer.data(), &stored), fits ? FS_OK : FS_ERR_BUFFER_TOO_SMALL);
      expect_equal(fmt::format("The length that {} stored", name), stored, length);
      const std::string expected = fits ? value + untouched.substr(value.size()) : untouched;
      expect(buffer == expected, fmt::format("{} with room for {} of {} bytes wrote {} into the buffer", name,
                                             capacity, length, shown(buffer.substr(0, value.size() + 1))));
    }
    int needed = 8192;
    expect_status(fmt::format("{} without a buffer", name), ((*drive.operator->()).*ask)(nullptr, &needed),
                  FS_ERR_BUFFER_TOO_SMALL);
    expect_equal(fmt::format("The length that {} stored without a buffer", name), needed, length);
    expect_status(fmt::format("{} without a length", name), ((*drive.operator->()).*ask)(buffer.data(), nullptr),
                  FS_ERR_INVALID_ARG);
  }
}

CONFORMANCE_CHECK(contract, "logger.binding",
                  "A logger is called while it is bound, and no upload fails because of it") {
  const auto bind = entry<bool(ILog*)>("BindLogger");
  const auto unbind = entry<void()>("UnbindLogger");
  Drive drive;
  Log log;
  Source source("x");
  Transfer transfer;
  expect(!bind(nullptr), "BindLogger answered true for a null");
  expect(bind(&log), "BindLogger refused a logger");
  expect(!bind(nullptr), "BindLogger answered true for a null");
  log.then = [] { throw HostError{}; };
  expect_status("Upload under a logger that throws", drive.upload("f", source, transfer), FS_OK);
  Log other;
  expect(bind(&other), "BindLogger refused a second logger");
  const std::size_t lines = log.lines.size();
  expect_status("Upload under another logger", drive.upload("f", source, transfer), FS_OK);
  expect(log.lines.size() == lines, "A logger in whose place another was bound got a line");
  unbind();
  const std::size_t other_lines = other.lines.size();
  expect_status("Upload without a logger", drive.upload("f", source, transfer), FS_OK);
  expect(log.lines.size() + other.lines.size() == lines + other_lines, "A logger got a line after UnbindLogger");
}
