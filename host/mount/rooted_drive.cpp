#include "host/mount/rooted_drive.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <random>
#include <system_error>
#include <utility>

#include "host/client/paths.h"
#include "host/client/times.h"

namespace host {
namespace {

constexpr std::string_view uploads_start_with = ".localdisk-upload-";

bool is_upload(std::string_view name) { return name.substr(0, uploads_start_with.size()) == uploads_start_with; }

int errno_of_status(int status, int reason) {
  switch (status) {
    case FS_ERR_NOT_SUPPORTED:
      return EOPNOTSUPP;
    case FS_ERR_INVALID_ARG:
      return EINVAL;
    case FS_ERR_NOT_FOUND:
      return reason != 0 ? reason : EPERM;  // it is there, but neither file nor folder: not for this protocol
    default:
      return reason != 0 ? reason : EIO;
  }
}

Attributes attributes_of(const _FS_FILE_V2& file) {
  return {file.type == FS_TYPE_DIRECTORY, file.size, parse_record_time(file.atime), parse_record_time(file.mtime),
          parse_record_time(file.ctime)};
}

template <class Body>
void ignore_refusal(Body&& body) {
  try {
    body();
  } catch (const OperationError&) {  // NOLINT(bugprone-empty-catch)
  }
}

_FS_FILE_V2 record_of(const std::string& path, int type) {
  _FS_FILE_V2 record;
  record.path = path;
  record.type = type;
  return record;
}

}  // namespace

int errno_of(const std::exception& error) {
  if (const auto* refused = dynamic_cast<const OperationError*>(&error)) {
    return errno_of_status(refused->status(), refused->reason());
  }
  if (const auto* system = dynamic_cast<const std::system_error*>(&error)) return system->code().value();
  return dynamic_cast<const std::bad_alloc*>(&error) != nullptr ? ENOMEM : EIO;
}

void throw_errno(int reason, const std::string& path) {
  throw std::system_error(reason, std::generic_category(), path);
}

RootedDrive::RootedDrive(Drive& drive, std::string root)
    : drive_(drive),
      root_(root == "/" ? "" : std::move(root)),
      upload_prefix_(fmt::format("{}{:08x}-", uploads_start_with, std::random_device{}())) {
  // Of exactly "/" the module measures no volume.
  drive_.set_option("root_path", root_.empty() ? "/." : root_);
}

std::string RootedDrive::on_drive(const std::string& path) const {
  if (path == "/") return root_.empty() ? path : root_;
  return root_ + path;
}

RootedDrive::Place RootedDrive::place_of(const std::string& path) const {
  Place place{on_drive(parent_of(path)), name_of(path)};
  if (is_upload(place.name)) throw_errno(EPERM, path);
  return place;
}

std::string RootedDrive::Place::path() const { return below(parent, name); }

std::string RootedDrive::upload_name() { return upload_prefix_ + std::to_string(++uploads_); }

Attributes RootedDrive::attributes(const std::string& path) {
  const std::optional<_FS_FILE_V2> file = is_upload(name_of(path)) ? std::nullopt : drive_.find(on_drive(path));
  if (!file) throw_errno(ENOENT, path);
  return attributes_of(*file);
}

void RootedDrive::list(const std::string& path, const Visit& visit) {
  drive_.list(on_drive(path), [&](const _FS_FILE_V2& file) {
    if (!is_upload(file.name)) visit(file.name, file.type == FS_TYPE_DIRECTORY);
  });
}

std::optional<Quota> RootedDrive::volume() { return drive_.quota(); }

std::size_t RootedDrive::read(const std::string& path, long long offset, std::span<char> out) {
  const long long length = std::min(static_cast<long long>(out.size()), attributes(path).size - offset);
  if (length <= 0) return 0;
  std::size_t got = 0;
  try {
    drive_.read(on_drive(path), offset, length, new_handle(), [&](const unsigned char* data, std::size_t size) {
      std::memcpy(out.subspan(got, size).data(), data, size);
      got += size;
    });
  } catch (const OperationError& error) {
    const bool became_shorter = error.status() == FS_ERR_READ && error.reason() == 0;
    if (!became_shorter) throw;
  }
  return got;
}

void RootedDrive::fetch(const std::string& path, long long size, const Drive::Sink& sink) {
  drive_.read(on_drive(path), 0, size, new_handle(), sink);
}

void RootedDrive::expect_readable(const std::string& path, const Attributes& file) {
  // Reading nothing opens the file all the same. What has no size may be a pipe, which would be waited for.
  if (file.size > 0) drive_.read(on_drive(path), 0, 0, new_handle(), {});
}

void RootedDrive::create_file(const std::string& path) {
  const Place place = place_of(path);
  drive_.upload(place.parent, place.name, 0, new_handle(), {});
}

Attributes RootedDrive::fill_file(const std::string& path, const Attributes& file, const Drive::Source& source) {
  const Place target = place_of(path);
  try {
    drive_.upload(target.parent, target.name, file.size, new_handle(), source);
  } catch (...) {
    ignore_refusal([&] { create_file(path); });  // a failed upload leaves nothing, but the file is there
    throw;
  }
  ignore_refusal([&] { drive_.set_times(target.path(), file.accessed, file.modified); });  // the content counts
  return attributes(path);
}

Attributes RootedDrive::replace_file(const std::string& path, const Attributes& file, const Drive::Source& source) {
  const Place target = place_of(path);
  const _FS_FILE_V2 uploaded = drive_.upload(target.parent, upload_name(), file.size, new_handle(), source);
  ignore_refusal([&] { drive_.set_times(uploaded.path, file.accessed, file.modified); });
  try {
    return attributes_of(drive_.move(uploaded, target.parent, target.name));
  } catch (const OperationError&) {
    ignore_refusal([&] { drive_.remove(uploaded); });
    throw;
  }
}

// The module gives one reason for every failure to make a folder; making a file there gives the true one.
int RootedDrive::why_nothing_can_be_made_in(const std::string& parent) {
  if (drive_.info(parent).type != FS_TYPE_DIRECTORY) return ENOTDIR;
  try {
    drive_.remove(drive_.upload(parent, upload_name(), 0, new_handle(), {}));
    return EIO;
  } catch (const OperationError& error) {
    return errno_of(error);
  }
}

void RootedDrive::create_directory(const std::string& path) {
  const Place place = place_of(path);
  if (drive_.find(place.path())) throw_errno(EEXIST, path);  // which the module takes for success
  try {
    drive_.create_directory(place.parent, place.name);
  } catch (const OperationError& error) {
    if (error.status() != FS_ERR_OPERATION_FAILED) throw;
    throw_errno(why_nothing_can_be_made_in(place.parent), path);
  }
}

void RootedDrive::remove_file(const std::string& path) {
  drive_.remove(record_of(place_of(path).path(), FS_TYPE_FILE));
}

void RootedDrive::remove_directory(const std::string& path) {
  const std::string directory = on_drive(path);
  std::vector<_FS_FILE_V2> leftovers;
  drive_.list(directory, [&](const _FS_FILE_V2& file) {
    if (!is_upload(file.name)) throw_errno(ENOTEMPTY, path);
    leftovers.push_back(file);
  });
  for (const _FS_FILE_V2& leftover : leftovers) drive_.remove(leftover);
  drive_.remove(record_of(directory, FS_TYPE_DIRECTORY));
}

void RootedDrive::move(const std::string& from, const std::string& to) {
  const Place target = place_of(to);
  drive_.move(drive_.info(place_of(from).path()), target.parent, target.name);
}

void RootedDrive::set_times(const std::string& path, const NewTimes& times) {
  const bool keeps_one = !times.accessed || !times.modified;
  const Attributes now = keeps_one ? attributes(path) : Attributes{};
  drive_.set_times(on_drive(path), times.accessed.value_or(now.accessed), times.modified.value_or(now.modified));
}

}  // namespace host
