#include "conformance/fake_host.h"

#include <fcntl.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

int Manager::GetPid(const char* module, char* buffer, int* length) {
  if (throws) throw HostError{};
  if (!quiet) module_id = module;
  EXPECT_EQ(*length, 256);
  EXPECT(std::all_of(buffer, buffer + 256, [](char c) { return c == '\0'; }));
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
  EXPECT_EQ(*out, 0);
  *out = 99;  // ignored
  chunks.push_back({offset, length});
  content.append(reinterpret_cast<const char*>(data), length);
  then();
  return 5;
}

int Source::ReadBlock(_FS_CACHE_REQUEST* request) {
  EXPECT_EQ(request->capacity, kChunk);
  EXPECT_EQ(request->delivered, 0);
  EXPECT(request->handle.use_count() > 1 && request->buffer != nullptr);
  EXPECT(std::all_of(request->reserved, request->reserved + 3, [](long long value) { return value == 0; }));
  offsets.push_back(request->offset);
  const auto start = std::min(static_cast<std::size_t>(request->offset), content.size());
  const std::size_t length = std::min<std::size_t>(kChunk, content.size() - start);
  std::memcpy(request->buffer, content.data() + start, length);
  request->delivered = static_cast<long long>(length);
  return answer(*request);
}

Transfer::Transfer() {
  handle->progress_ctx = this;
  handle->progress = [](long long total, long long done, void* context, double zero) {
    auto& transfer = *static_cast<Transfer*>(context);
    EXPECT_EQ(zero, 0.0);
    transfer.reports.push_back({total, done});
    transfer.then();
  };
}

Drive::Drive() : descriptors_(open_descriptors()) {
  void* object = nullptr;
  if (!entry<bool(IProtocolManager*, void**)>("GetProtocol")(&manager, &object) || object == nullptr)
    harness::give_up(__FILE__, __LINE__, "no object to be had");
  object_ = static_cast<Protocol*>(object);
}

Drive::~Drive() {
  EXPECT_EQ(open_descriptors(), descriptors_);
  EXPECT(message == nullptr);
  object_->Release();
}

_FS_FILE_V2 Drive::info(const std::string& path) {
  _FS_FILE_V2 file;
  EXPECT_EQ(object_->GetFileInfo(path.c_str(), &file, &message), 0);
  return file;
}

int Drive::upload(std::string name, Source& source, Transfer& transfer, long long size) {
  _FS_FILE_V2 file;
  file.name = std::move(name);
  file.size = size < 0 ? static_cast<long long>(source.content.size()) : size;
  const int status = object_->Upload(folder.path().c_str(), transfer.handle, &source, &file, kNoFlag, &message);
  EXPECT_EQ(transfer.handle.use_count(), 1);
  return status;
}

int Drive::read(const std::string& path, long long offset, long long length, Receiver& receiver, Transfer& transfer) {
  const int status = object_->Read(path.c_str(), offset, length, transfer.handle, &receiver, &message);
  EXPECT_EQ(transfer.handle.use_count(), 1);
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

Unprivileged::Unprivileged() : was_root_(::geteuid() == 0) {
  constexpr uid_t nobody = 65534;
  if (was_root_ && ::seteuid(nobody) != 0) harness::skip("can't leave root");
}

Unprivileged::~Unprivileged() {
  if (was_root_) EXPECT_EQ(::seteuid(0), 0);
}

_FS_FILE_V2 marked_record(std::string name) {
  return {"P", 42, 43, "C", "A", "M", std::move(name), "1", {"p", "q"}, "2"};
}

std::string as_text(const _FS_FILE_V2& file) {
  return fmt::format("{}|{}|{}|{}|{}|{}|{}|{}|{}|{}", file.path, file.type, file.size, file.ctime, file.atime,
                     file.mtime, file.name, file.extra1, fmt::join(file.parents, ","), file.extra2);
}
