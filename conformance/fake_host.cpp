#include "conformance/fake_host.h"

#include <fcntl.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

int Manager::GetPid(const char* module, char* buffer, int* length) {
  ++pids_asked;
  if (throws) throw HostError{};
  if (!quiet) module_id = module;
  expect(*length >= 256, "GetPid was called with room for less than 256 bytes");
  std::memcpy(buffer, pid.data(), pid.size());
  return 5;  // ignored
}

int Manager::SetValue(const char* owner, const char* key, const char* value, int flag) {
  const std::lock_guard guard(lock);
  values.push_back(fmt::format("{} {} {} {}", owner, key, value, flag));
  if (throws) throw HostError{};
  return 5;
}

int Entries::AddFile(_FS_FILE_V2* file) {
  ++calls;
  by_name[file->name] = *file;
  then(*file);
  return 5;
}

void Log::LogV(LOGLEVEL level, const char* format, va_list arguments) {
  std::array<char, 512> text{};
  std::vsnprintf(text.data(), text.size(), format, arguments);
  const std::lock_guard guard(lock);
  lines.push_back(fmt::format("{} {} -> {}", static_cast<int>(level), format, text.data()));
  then();
}

int Receiver::OnData(long long offset, const unsigned char* data, unsigned long long length, long long* out) {
  expect(*out == 0, "OnData was called with an out value that is not 0");
  *out = 99;  // ignored
  chunks.push_back({offset, length});
  content.append(reinterpret_cast<const char*>(data), length);
  then();
  return 5;
}

int Source::ReadBlock(_FS_CACHE_REQUEST* request) {
  expect_equal("The capacity of a block's request", request->capacity, chunk_size);
  expect_equal("The delivered length of a fresh block's request", request->delivered, 0);
  expect(request->handle.use_count() > 1, "A block's request holds no share of the transfer's handle");
  expect(request->buffer != nullptr, "A block's request brings no buffer");
  expect(std::all_of(request->reserved, request->reserved + 3, [](long long value) { return value == 0; }),
         "The reserved members of a block's request are not 0");
  offsets.push_back(request->offset);
  const auto start = std::min(static_cast<std::size_t>(request->offset), content.size());
  const std::size_t length = std::min<std::size_t>(chunk_size, content.size() - start);
  std::memcpy(request->buffer, content.data() + start, length);
  request->delivered = static_cast<long long>(length);
  return answer(*request);
}

Transfer::Transfer() {
  handle->progress_ctx = this;
  handle->progress = [](long long total, long long done, void* context, double zero) {
    auto& transfer = *static_cast<Transfer*>(context);
    expect(zero == 0.0, "The last argument of a progress report is not 0");
    transfer.reports.push_back({total, done});
    transfer.then();
  };
}

Session::Session() : descriptors_(open_descriptors()) {
  void* object = nullptr;
  if (!entry<CreateObject>("GetProtocol")(&manager, &object) || object == nullptr)
    harness::give_up("GetProtocol made no object");
  object_ = static_cast<Protocol*>(object);
  for (const auto& [key, value] : harness::options().settings)
    expect_status("SetOpt of '" + key + "'", object_->SetOpt(key.c_str(), value.c_str()), FS_OK);
}

Session::~Session() {
  expect(message == nullptr, "An operation stored a message");
  object_->Release();
  expect(open_descriptors() <= descriptors_, "An operation left a descriptor open");
}

_FS_FILE_V2 Session::info(const std::string& path) {
  _FS_FILE_V2 file;
  expect_status("GetFileInfo of an entry that is there", object_->GetFileInfo(path.c_str(), &file, &message), FS_OK);
  return file;
}

int Session::upload(std::string name, Source& source, Transfer& transfer, long long size) {
  return upload_into(folder, std::move(name), source, transfer, size);
}

int Session::upload_into(const std::string& parent, std::string name, Source& source, Transfer& transfer,
                         long long size) {
  _FS_FILE_V2 file;
  file.name = std::move(name);
  file.size = size < 0 ? static_cast<long long>(source.content.size()) : size;
  const int status = object_->Upload(parent.c_str(), transfer.handle, &source, &file, no_flag, &message);
  expect(transfer.handle.use_count() == 1, "Upload kept a share of the transfer's handle");
  return status;
}

int Session::read(const std::string& path, long long offset, long long length, Receiver& receiver,
                  Transfer& transfer) {
  const int status = object_->Read(path.c_str(), offset, length, transfer.handle, &receiver, &message);
  expect(transfer.handle.use_count() == 1, "Read kept a share of the transfer's handle");
  return status;
}

Drive::Drive() {
  const std::string root = harness::options().root;
  const std::string name = fmt::format("localdisk-check-{}", ::getpid());
  folder = (root == "/" ? "" : root) + "/" + name;
  _FS_FILE_V2 made = marked_record(name);
  const int status = offered("CreateDirectory", (*this)->CreateDirectory(root.c_str(), &made, &message));
  if (status != FS_OK)
    harness::give_up(fmt::format("CreateDirectory in the root {} answered {}; expected {}", shown(root),
                                 status_text(status), status_text(FS_OK)));
}

Drive::~Drive() { remove_all(folder); }

void Drive::remove_all(const std::string& path) {
  Entries entries;
  (*this)->GetFileList(path.c_str(), &entries, nullptr);
  for (auto& [name, file] : entries.by_name) {
    const std::string below = path + "/" + name;
    if (file.type == type_directory) remove_all(below);
    file.path = below;
    if (file.type != type_directory) (*this)->Delete(&file, nullptr);
  }
  _FS_FILE_V2 itself = marked_record("");
  itself.path = path;
  (*this)->DeleteDirectory(&itself, nullptr);
}

std::string Drive::make_file(const std::string& name, std::string content) {
  Source source(std::move(content));
  Transfer transfer;
  const int status = offered("Upload", upload(name, source, transfer));
  if (status != FS_OK)
    harness::give_up(
        fmt::format("Upload of a new file answered {}; expected {}", status_text(status), status_text(FS_OK)));
  return *this / name;
}

std::string Drive::make_folder(const std::string& name) {
  const std::size_t slash = name.rfind('/');
  const std::string parent = slash == std::string::npos ? folder : *this / name.substr(0, slash);
  _FS_FILE_V2 made = marked_record(slash == std::string::npos ? name : name.substr(slash + 1));
  expect_status("CreateDirectory of a new folder", (*this)->CreateDirectory(parent.c_str(), &made, &message), FS_OK);
  return *this / name;
}

std::string Drive::content(const std::string& path) {
  const long long size = info(path).size;
  Receiver receiver;
  Transfer transfer;
  expect_status("Read of a whole file", offered("Read", read(path, 0, size, receiver, transfer)), FS_OK);
  return receiver.content;
}

int Drive::offered(std::string_view operation, int status) {
  if (status == FS_ERR_NOT_SUPPORTED) harness::skip(fmt::format("The module does not offer {}", operation));
  return status;
}

int open_descriptors() {
  int count = 0;
  for (int descriptor = 0; descriptor < 1024; ++descriptor) count += ::fcntl(descriptor, F_GETFD) < 0 ? 0 : 1;
  return count;
}

std::string pattern(long long size) {
  std::string text(static_cast<std::size_t>(size), '\0');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>((i * 2654435761U) >> 13U);
  return text;
}

_FS_FILE_V2 marked_record(std::string name) {
  return {"P", 42, 43, "C", "A", "M", std::move(name), "1", {"p", "q"}, "2"};
}

std::string as_text(const _FS_FILE_V2& file) {
  return fmt::format("{}|{}|{}|{}|{}|{}|{}|{}|{}|{}", file.path, file.type, file.size, file.ctime, file.atime,
                     file.mtime, file.name, file.extra1, fmt::join(file.parents, ","), file.extra2);
}

bool keeps_host_members(const _FS_FILE_V2& file) {
  return file.extra1 == "1" && file.extra2 == "2" && file.parents.size() == 2;
}

void expect_untouched(std::string_view call, const _FS_FILE_V2& file, const _FS_FILE_V2& before) {
  expect(as_text(file) == as_text(before), fmt::format("{} changed the record although it failed", call));
}
