#include "host/cli/transfer.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>
#include <vector>

#include "host/cli/console.h"
#include "host/client/paths.h"

namespace host {
namespace {

class Descriptor {
 public:
  Descriptor(const std::string& path, int flags) : Descriptor(path, flags, 0, path) {}
  // A failure is told of `shown`, the path that the user knows.
  Descriptor(const std::string& path, int flags, mode_t mode, const std::string& shown)
      : number_(::open(path.c_str(), flags | O_CLOEXEC, mode)) {
    if (number_ < 0) throw std::system_error(errno, std::generic_category(), shown);
  }
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  [[nodiscard]] int number() const { return number_; }
  // What a full disk reports only now is thrown.
  void close(const std::string& path) {
    if (::close(std::exchange(number_, -1)) != 0) throw std::system_error(errno, std::generic_category(), path);
  }

 private:
  int number_;
};

void expect(bool good, const std::string& path) {
  if (!good) throw std::system_error(errno, std::generic_category(), path);
}

void write_all(int out, const unsigned char* data, std::size_t size, const std::string& path) {
  while (size > 0) {
    const ssize_t count = ::write(out, data, size);
    expect(count >= 0, path);
    data += count;
    size -= static_cast<std::size_t>(count);
  }
}

// Fills the block, or as much of it as there is until the end.
std::size_t read_at(int in, unsigned char* block, std::size_t size, long long offset, const std::string& path) {
  std::size_t got = 0;
  while (got < size) {
    const ssize_t count = ::pread(in, block + got, size - got, offset + static_cast<long long>(got));
    expect(count >= 0, path);
    if (count == 0) break;
    got += static_cast<std::size_t>(count);
  }
  return got;
}

// Takes away what didn't become whole.
template <class Remove>
class Leftover {
 public:
  explicit Leftover(Remove remove) : remove_(std::move(remove)) {}
  ~Leftover() {
    if (armed_) remove_();
  }
  Leftover(const Leftover&) = delete;
  Leftover& operator=(const Leftover&) = delete;
  void keep() { armed_ = false; }

 private:
  Remove remove_;
  bool armed_ = true;
};

_FS_FILE_V2 file_record(const std::string& path) {
  _FS_FILE_V2 record;
  record.path = path;
  record.type = FS_TYPE_FILE;
  return record;
}

}  // namespace

void Transfer::download(const std::string& path, const Entry& file, const std::string& local) {
  // Whoever may not read the old file may not read the new one either.
  struct stat old {};
  const bool replaces = ::lstat(local.c_str(), &old) == 0 && S_ISREG(old.st_mode);
  const std::string part = below(parent_of(local), temporary_name());
  Descriptor out(part, O_WRONLY | O_CREAT | O_EXCL, replaces ? S_IRUSR | S_IWUSR : 0666, local);
  Leftover leftover([&] { ::unlink(part.c_str()); });
  Progress& progress = report_.progress();
  progress.begin(file.name, file.size);
  long long done = 0;
  drive_.read(path, 0, file.size, report_.interrupt().begin_transfer(),
              [&](const unsigned char* data, std::size_t size) {
                write_all(out.number(), data, size, local);
                done += static_cast<long long>(size);
                progress.show(done);
              });
  if (replaces) expect(::fchmod(out.number(), old.st_mode & 0777U) == 0, local);
  if (file.modified != -1) {
    const std::array<timespec, 2> times{{{0, UTIME_NOW}, {file.modified, 0}}};
    expect(::futimens(out.number(), times.data()) == 0, local);
  }
  out.close(local);
  expect(::rename(part.c_str(), local.c_str()) == 0, local);
  leftover.keep();
}

void Transfer::upload(const std::string& local, const std::string& path) {
  const Descriptor in(local, O_RDONLY);
  struct stat status {};
  expect(::fstat(in.number(), &status) == 0, local);
  upload_content(in.number(), status.st_size, status.st_atime, status.st_mtime, path);
}

long long Transfer::upload_input(const std::string& path) {
  // The module wants to know the size first.
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> kept(std::tmpfile(), std::fclose);
  expect(kept != nullptr, "the temporary file for standard input");
  std::vector<unsigned char> block(FS_CHUNK_SIZE);
  long long size = 0;
  while (const ssize_t count = ::read(STDIN_FILENO, block.data(), block.size())) {
    report_.interrupt().throw_if_interrupted();
    expect(count > 0, "standard input");
    write_all(::fileno(kept.get()), block.data(), static_cast<std::size_t>(count),
              "the temporary file for standard input");
    size += count;
  }
  const time_t now = ::time(nullptr);
  upload_content(::fileno(kept.get()), size, now, now, path);
  return size;
}

void Transfer::upload_content(int in, long long size, time_t accessed, time_t modified, const std::string& path) {
  const std::string parent = parent_of(path), part = temporary_name(), part_path = below(parent, part);
  Leftover leftover([&] {
    try {
      drive_.remove(file_record(part_path));
    } catch (const OperationError&) {  // NOLINT(bugprone-empty-catch): the module has removed it, or never made it
    }
  });
  Progress& progress = report_.progress();
  progress.begin(name_of(path), size);
  try {
    drive_.upload(parent, part, size, report_.interrupt().begin_transfer(),
                  [&](unsigned char* block, std::size_t count, long long offset) {
                    if (read_at(in, block, count, offset, path) < count) {
                      throw CommandError(fmt::format("what was to be copied to {} became shorter meanwhile", path));
                    }
                    progress.show(offset);
                  });
    try {
      drive_.set_times(part_path, accessed, modified);
    } catch (const OperationError& error) {
      if (error.status() != FS_ERR_NOT_SUPPORTED) throw;  // a module that keeps no times tells none either
    }
    drive_.move(file_record(part_path), parent, name_of(path));
  } catch (const OperationError& error) {
    throw OperationError("write", path, error.status(), error.reason());
  }
  leftover.keep();
}

void Transfer::print(const std::string& path, long long offset, long long length) {
  drive_.read(path, offset, length, report_.interrupt().begin_transfer(),
              [](const unsigned char* data, std::size_t size) {
                std::fwrite(data, 1, size, stdout);
                if (std::ferror(stdout) != 0) flush_output();
              });
}

bool Transfer::same_content(const std::string& local, const std::string& path, long long size) {
  const Descriptor in(local, O_RDONLY);
  struct Different {};
  std::vector<unsigned char> block(FS_CHUNK_SIZE);
  long long done = 0;
  try {
    drive_.read(path, 0, size, report_.interrupt().begin_transfer(),
                [&](const unsigned char* data, std::size_t count) {
                  if (block.size() < count) block.resize(count);
                  const bool same = read_at(in.number(), block.data(), count, done, local) == count &&
                                    std::equal(data, data + count, block.data());
                  if (!same) throw Different{};
                  done += static_cast<long long>(count);
                });
  } catch (const Different&) {
    return false;
  }
  return true;
}

}  // namespace host
