#include "host/mount/rooted_drive.h"

#include <fmt/format.h>

#include <array>
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

int errno_of_status(int status, int reason) {
  switch (status) {
    case FS_ERR_NOT_SUPPORTED:
      return EOPNOTSUPP;
    case FS_ERR_INVALID_ARG:
      return EINVAL;
    case FS_ERR_NOT_FOUND:
      return reason != 0 ? reason : ENOENT;
    default:
      return reason != 0 ? reason : EIO;
  }
}

// Entries of one listing mostly have few different times.
time_t time_of(const std::string& text) {
  struct Known {
    std::string text;
    time_t instant;
  };
  thread_local std::array<Known, 3> known{};
  thread_local std::size_t oldest = 0;
  for (const Known& one : known) {
    if (one.text == text && !text.empty()) return one.instant;
  }
  Known& renewed = known[oldest++ % known.size()];
  renewed = {text, parse_record_time(text)};
  return renewed.instant;
}

Attributes attributes_of(const _FS_FILE_V2& file) {
  return {file.type == FS_TYPE_DIRECTORY, file.size, time_of(file.atime), time_of(file.mtime), time_of(file.ctime)};
}

bool says_absent(const OperationError& error) {
  const int reason = error.reason();
  return error.status() == FS_ERR_NOT_FOUND && (reason == 0 || reason == ENOENT || reason == ENOTDIR);
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

bool can_have_same_content(const Attributes& one, const Attributes& other) {
  return one.directory == other.directory && one.size == other.size && one.modified == other.modified &&
         one.changed == other.changed;
}

RootedDrive::RootedDrive(Drive& drive, std::string root)
    : drive_(drive),
      root_(root == "/" ? "" : std::move(root)),
      own_prefix_(fmt::format(".localdisk-upload-{:08x}{:08x}-", std::random_device{}(), std::random_device{}())) {
  // Of exactly "/" the module measures no volume.
  drive_.set_option("root_path", root_.empty() ? "/." : root_);
}

bool RootedDrive::is_own(std::string_view name) const { return name.starts_with(own_prefix_); }

std::string RootedDrive::on_drive(const std::string& path) const {
  if (path == "/") return root_.empty() ? path : root_;
  return root_ + path;
}

RootedDrive::Place RootedDrive::place_of(const std::string& path) const {
  return {on_drive(parent_of(path)), name_of(path)};
}

std::string RootedDrive::Place::path() const { return below(parent, name); }

std::string RootedDrive::aside_path(unsigned long number) const {
  return fmt::format("/{}removed-{}", own_prefix_, number);
}

std::optional<Attributes> RootedDrive::find(const std::string& path) {
  if (is_own(name_of(path))) return std::nullopt;
  thread_local _FS_FILE_V2 file;
  return drive_.find(on_drive(path), file) ? std::optional(attributes_of(file)) : std::nullopt;
}

Attributes RootedDrive::attributes(const std::string& path) {
  const std::optional<Attributes> file = find(path);
  if (!file) throw_errno(ENOENT, path);
  return *file;
}

void RootedDrive::list(const std::string& path, const Visit& visit) {
  drive_.list(on_drive(path), [&](const _FS_FILE_V2& file) {
    if (!is_own(file.name)) visit(file.name, attributes_of(file));
  });
}

std::optional<Quota> RootedDrive::volume() { return drive_.quota(); }

void RootedDrive::read(const std::string& path, long long offset, std::span<char> room, const Take& take) {
  std::size_t got = 0;
  bool is_taken = room.empty();
  const auto receive = [&](const unsigned char* data, std::size_t size) {
    if (is_taken) return;  // what a module gives beyond what it was asked for
    if (size > room.size() - got) throw_errno(EIO, path);
    if (size == room.size()) {
      is_taken = true;
      return take({reinterpret_cast<const char*>(data), size});
    }
    std::memcpy(room.subspan(got, size).data(), data, size);
    got += size;
  };
  try {
    const auto length = static_cast<long long>(room.size());
    if (!is_taken) drive_.read(on_drive(path), offset, length, new_handle(), std::ref(receive));
  } catch (const OperationError& error) {
    // A failure behind the last byte took nothing from what was asked for.
    const bool at_the_end = is_taken || (error.status() == FS_ERR_READ && error.reason() == 0);
    if (!at_the_end) throw;
  }
  if (!is_taken || room.empty()) take(room.first(got));
}

void RootedDrive::fetch(const std::string& path, long long size, const Drive::Sink& sink) {
  if (size > 0) drive_.read(on_drive(path), 0, size, new_handle(), sink);
}

void RootedDrive::expect_ordinary(const std::string& path, const Attributes& file) {
  if (file.directory || file.size > 0) return;  // only what has no size can be anything else
  const Place place = place_of(path);
  try {
    // Moved to where it is: changes nothing, and is refused for what is neither file nor folder.
    drive_.move(record_of(place.path(), FS_TYPE_FILE), place.parent, place.name);
  } catch (const OperationError& error) {
    if (error.status() == FS_ERR_NOT_FOUND && find(path)) throw_errno(EOPNOTSUPP, path);
  }
}

void RootedDrive::expect_readable(const std::string& path, const Attributes& file) {
  expect_ordinary(path, file);
  if (!file.directory && file.size > 0) drive_.read(on_drive(path), 0, 0, new_handle(), {});  // opens it all the same
}

Attributes RootedDrive::create_file(const std::string& path) {
  const Place place = place_of(path);
  if (is_own(place.name)) throw_errno(EPERM, path);
  return attributes_of(drive_.upload(place.parent, place.name, 0, new_handle(), {}));
}

Attributes RootedDrive::replace_file(const std::string& path, unsigned long number, long long size,
                                     const NewTimes& times, const Drive::Source& source) {
  const Place target = place_of(path);
  const std::string name = own_prefix_ + std::to_string(number);
  const _FS_FILE_V2 uploaded = drive_.upload(target.parent, name, size, new_handle(), source);
  const Attributes now = attributes_of(uploaded);
  const NewTimes wanted{times.accessed.value_or(now.accessed), times.modified.value_or(now.modified)};
  if (wanted.accessed != now.accessed || wanted.modified != now.modified) {
    ignore_refusal([&] { drive_.set_times(uploaded.path, *wanted.accessed, *wanted.modified); });
  }
  try {
    return attributes_of(drive_.move(uploaded, target.parent, target.name));
  } catch (const OperationError&) {
    ignore_refusal([&] { drive_.remove(uploaded); });
    throw;
  }
}

void RootedDrive::remove_leftover(const std::string& path, const std::string& prefix, unsigned long number) {
  const Place place = place_of(path);
  ignore_refusal(
      [&] { drive_.remove(record_of(below(place.parent, prefix + std::to_string(number)), FS_TYPE_FILE)); });
}

// The module gives one reason for every failure to make a folder; making a file there gives the true one.
int RootedDrive::why_nothing_can_be_made_in(const std::string& parent) {
  try {
    if (drive_.info(parent).type != FS_TYPE_DIRECTORY) return ENOTDIR;
    const std::string probe = fmt::format("{}probe-{}", own_prefix_, ++probes_);
    drive_.remove(drive_.upload(parent, probe, 0, new_handle(), {}));
    return EIO;
  } catch (const OperationError& error) {
    return errno_of(error);
  }
}

Attributes RootedDrive::create_directory(const std::string& path) {
  const Place place = place_of(path);
  if (is_own(place.name)) throw_errno(EPERM, path);
  if (find(path)) throw_errno(EEXIST, path);  // which the module takes for success
  try {
    return attributes_of(drive_.create_directory(place.parent, place.name));
  } catch (const OperationError& error) {
    if (error.status() != FS_ERR_OPERATION_FAILED) throw;
    throw_errno(why_nothing_can_be_made_in(place.parent), path);
  }
}

void RootedDrive::remove_file(const std::string& path) {
  try {
    drive_.remove(record_of(on_drive(path), FS_TYPE_FILE));
  } catch (const OperationError& error) {
    if (says_absent(error) && find(path)) throw_errno(EPERM, path);  // neither file nor folder: not for this protocol
    throw;
  }
}

void RootedDrive::remove_directory(const std::string& path) {
  list(path, [&](const std::string&, const Attributes&) { throw_errno(ENOTEMPTY, path); });
  drive_.remove(record_of(on_drive(path), FS_TYPE_DIRECTORY));
}

Attributes RootedDrive::move(const std::string& from, const std::string& to, bool directory) {
  const Place target = place_of(to);
  try {
    return attributes_of(drive_.move(record_of(on_drive(from), directory ? FS_TYPE_DIRECTORY : FS_TYPE_FILE),
                                     target.parent, target.name));
  } catch (const OperationError& error) {
    if (says_absent(error) && find(from)) throw_errno(EPERM, from);
    throw;
  }
}

void RootedDrive::set_times(const std::string& path, const NewTimes& times) {
  const bool keeps_one = !times.accessed || !times.modified;
  const Attributes now = keeps_one ? attributes(path) : Attributes{};
  drive_.set_times(on_drive(path), times.accessed.value_or(now.accessed), times.modified.value_or(now.modified));
}

}  // namespace host
