#include "host/client/drive.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <string_view>
#include <utility>

#include "host/client/times.h"
#include "plugin/entry_points.h"

namespace host {
namespace {

// Runs one operation and throws when its status is not FS_OK. errno is cleared first, so that what stands
// there afterwards is the operation's own.
template <class Body>
void expect_ok(std::string_view operation, std::string_view path, Body&& body) {
  errno = 0;
  const int status = body();
  const int reason = errno;
  if (status != FS_OK) throw OperationError(operation, path, status, reason);
}

// Exceptions must not travel through the module: a callback keeps what its body threw, and the host's call
// throws it again once the module has returned.
class DeferredException {
 public:
  template <class Body>
  bool run(Body&& body) {
    if (thrown_) return false;
    try {
      body();
      return true;
    } catch (...) {
      thrown_ = std::current_exception();
      return false;
    }
  }
  void rethrow() const {
    if (thrown_) std::rethrow_exception(thrown_);
  }

 private:
  std::exception_ptr thrown_;
};

struct Visitor final : IFileList {
  const std::function<void(const _FS_FILE_V2&)>& visit;
  DeferredException thrown;
  explicit Visitor(const std::function<void(const _FS_FILE_V2&)>& body) : visit(body) {}
  int AddFile(_FS_FILE_V2* file) override {
    return thrown.run([&] { visit(*file); }) ? 0 : 1;
  }
};

struct Receiver final : IFetchCallback {
  const Drive::Sink& sink;
  _FS_HANDLE& handle;
  DeferredException thrown;
  Receiver(const Drive::Sink& body, _FS_HANDLE& transfer) : sink(body), handle(transfer) {}
  int OnData(long long /*offset*/, const unsigned char* data, unsigned long long length,
             long long* /*out*/) override {
    const bool good = thrown.run([&] { sink(data, static_cast<std::size_t>(length)); });
    if (!good) stop(handle);
    return good ? 0 : 1;
  }
};

struct Blocks final : ICacheIO {
  const Drive::Source& source;
  DeferredException thrown;
  explicit Blocks(const Drive::Source& body) : source(body) {}
  int ReadBlock(_FS_CACHE_REQUEST* request) override {
    const long long length = std::min(request->capacity, request->total_size - request->offset);
    const bool good = thrown.run([&] { source(request->buffer, static_cast<std::size_t>(length), request->offset); });
    request->delivered = good ? length : 0;
    return good ? 0 : 1;
  }
};

// No module has to fill every field.
void clear(_FS_FILE_V2& file) {
  for (std::string* text :
       {&file.path, &file.ctime, &file.atime, &file.mtime, &file.name, &file.extra1, &file.extra2}) {
    text->clear();
  }
  file.type = 0;
  file.size = 0;
  file.parents.clear();
}

// Asks for the length of a text first and for the text then.
template <class Query>
std::string text_of(std::string_view what, const Query& query) {
  int length = 0;
  static_cast<void>(query(nullptr, &length));
  std::string text(static_cast<std::size_t>(length), '\0');
  expect_ok("ask for", what, [&] { return query(text.data(), &length); });
  text.resize(static_cast<std::size_t>(length));
  return text;
}

}  // namespace

// Names the host's instance and keeps what the module tells.
class Drive::Manager final : public IProtocolManager {
 public:
  std::vector<ToldValue> told;
  int GetPid(const char* /*module*/, char* buffer, int* length) override {
    const std::string pid = "localdisk-host-" + std::to_string(::getpid());
    if (*length <= static_cast<int>(pid.size())) return 1;
    std::memcpy(buffer, pid.c_str(), pid.size() + 1);
    *length = static_cast<int>(pid.size());
    return 0;
  }
  int SetValue(const char* owner, const char* key, const char* value, int flag) override {
    told.push_back({owner, key, value, flag});
    return 0;
  }
};

Drive::Drive(const Module& module) : manager_(std::make_unique<Manager>()) {
  void* object = nullptr;
  if (!module.function<decltype(GetProtocol)>("GetProtocol")(manager_.get(), &object) || object == nullptr) {
    throw ModuleError("the module makes no protocol object");
  }
  object_.reset(static_cast<IProtocol_V2*>(object));
}

Drive::~Drive() = default;

void Drive::set_option(const char* key, const std::string& value) {
  expect_ok("set option", key, [&] { return object_->SetOpt(key, value.c_str()); });
}

std::string Drive::user() {
  return text_of("the user", [&](char* buffer, int* length) { return object_->GetUserInfo(buffer, length); });
}

std::string Drive::root() {
  return text_of("the root", [&](char* buffer, int* length) { return object_->GetRootID(buffer, length); });
}

std::optional<Quota> Drive::quota() {
  constexpr auto untouched = ~0ULL;
  Quota quota{untouched, untouched};
  expect_ok("measure", root(), [&] { return object_->GetQuota(&quota.total, &quota.used); });
  if (quota.total == untouched && quota.used == untouched) return std::nullopt;
  return quota;
}

int Drive::features() { return object_->GetFeature(); }

std::vector<ToldValue> Drive::hand_over_credential() {
  manager_->told.clear();
  char buffer = 0;
  int length = 0;
  expect_ok("hand over", "the credential", [&] { return object_->GetCredential(&buffer, &length); });
  return manager_->told;
}

void Drive::list(const std::string& path, const std::function<void(const _FS_FILE_V2&)>& visit) {
  Visitor visitor(visit);
  expect_ok("list", path, [&] { return object_->GetFileList(path.c_str(), &visitor, nullptr); });
  visitor.thrown.rethrow();
}

std::vector<_FS_FILE_V2> Drive::list(const std::string& path) {
  std::vector<_FS_FILE_V2> entries;
  list(path, [&](const _FS_FILE_V2& file) { entries.push_back(file); });
  return entries;
}

_FS_FILE_V2 Drive::info(const std::string& path) {
  _FS_FILE_V2 file;
  expect_ok("examine", path, [&] { return object_->GetFileInfo(path.c_str(), &file, nullptr); });
  return file;
}

std::optional<_FS_FILE_V2> Drive::find(const std::string& path) {
  std::optional<_FS_FILE_V2> file(std::in_place);
  if (!find(path, *file)) file.reset();
  return file;
}

// What isn't there is no exception: it is asked for as often as what is, and an exception takes longer than the
// question.
bool Drive::find(const std::string& path, _FS_FILE_V2& file) {
  clear(file);
  errno = 0;
  const int status = object_->GetFileInfo(path.c_str(), &file, nullptr);
  const int reason = errno;  // 0 from a module that keeps its entries elsewhere
  if (status == FS_OK) return true;
  const bool absent = reason == 0 || reason == ENOENT || reason == ENOTDIR;
  if (status == FS_ERR_NOT_FOUND && absent) return false;
  throw OperationError("examine", path, status, reason);
}

void Drive::read(const std::string& path, long long offset, long long length, const Handle& handle,
                 const Sink& sink) {
  Receiver receiver(sink, *handle);
  try {
    expect_ok("read", path, [&] { return object_->Read(path.c_str(), offset, length, handle, &receiver, nullptr); });
  } catch (const OperationError&) {
    receiver.thrown.rethrow();  // the reason behind the status
    throw;
  }
  receiver.thrown.rethrow();
}

_FS_FILE_V2 Drive::upload(const std::string& parent, const std::string& name, long long size, const Handle& handle,
                          const Source& source) {
  Blocks blocks(source);
  _FS_FILE_V2 file;
  file.name = name;
  file.size = size;
  try {
    expect_ok("write", parent + "/" + name,
              [&] { return object_->Upload(parent.c_str(), handle, &blocks, &file, UPLOAD_FLAG{}, nullptr); });
  } catch (const OperationError&) {
    blocks.thrown.rethrow();
    throw;
  }
  return file;
}

_FS_FILE_V2 Drive::move(const _FS_FILE_V2& entry, const std::string& new_parent, const std::string& name) {
  const auto operation = entry.type == FS_TYPE_DIRECTORY ? &IProtocol_V2::MoveDir : &IProtocol_V2::Move;
  _FS_FILE_V2 file;
  file.name = name;
  expect_ok("move", entry.path,
            [&] { return (*object_.*operation)(entry.path.c_str(), new_parent.c_str(), &file, nullptr); });
  return file;
}

void Drive::remove(const _FS_FILE_V2& entry) {
  const auto operation = entry.type == FS_TYPE_DIRECTORY ? &IProtocol_V2::DeleteDirectory : &IProtocol_V2::Delete;
  _FS_FILE_V2 file = entry;
  expect_ok("remove", entry.path, [&] { return (*object_.*operation)(&file, nullptr); });
}

_FS_FILE_V2 Drive::create_directory(const std::string& parent, const std::string& name) {
  _FS_FILE_V2 file;
  file.name = name;
  expect_ok("make the directory", parent + "/" + name,
            [&] { return object_->CreateDirectory(parent.c_str(), &file, nullptr); });
  return file;
}

void Drive::set_times(const std::string& path, time_t accessed, time_t modified) {
  expect_ok("set the times of", path, [&] {
    return object_->SetFileTime(path.c_str(), {}, format_set_time(accessed), format_set_time(modified), nullptr,
                                nullptr);
  });
}

}  // namespace host
