#include "host/cli/copy.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <vector>

#include "host/cli/console.h"
#include "host/client/paths.h"
#include "host/client/report.h"
#include "host/client/times.h"

namespace host {
namespace {

namespace fs = std::filesystem;

struct Closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Closer>;

void check(bool good, const fs::path& path) {
  if (!good) throw std::system_error(errno, std::generic_category(), path.string());
}

File open(const fs::path& path, const char* mode) {
  File file(std::fopen(path.c_str(), mode));
  check(file != nullptr, path);
  return file;
}

// Removes a file that did not become whole.
struct Leftover {
  fs::path path;
  ~Leftover() {
    std::error_code gone_already;
    if (!path.empty()) fs::remove(path, gone_already);
  }
};

}  // namespace

void Copier::skip(const std::string& path, std::string_view what) {
  ++counts_.skipped;
  print_error(fmt::format("passed over {}: {}", path, what));
}

void Copier::get(const _FS_FILE_V2& file, const fs::path& local) {
  interrupt_.throw_if_interrupted();
  const bool in_place = fs::exists(local) && !fs::is_regular_file(local);  // a device, a pipe
  const fs::path written = in_place ? local : fs::path(fmt::format("{}.part-{}", local.string(), ::getpid()));
  File out = open(written, "wb");
  Leftover leftover{in_place ? fs::path() : written};
  ProgressBar bar(file.name, file.size);
  long long done = 0;
  drive_.read(file.path, 0, file.size, interrupt_.handle(), [&](const unsigned char* data, std::size_t size) {
    check(std::fwrite(data, 1, size, out.get()) == size, written);
    done += static_cast<long long>(size);
    bar.show(done);
  });
  check(std::fclose(out.release()) == 0, written);
  if (!in_place) {
    const time_t modified = parse_record_time(file.mtime);
    const std::array<timeval, 2> times{{{modified, 0}, {modified, 0}}};
    check(::utimes(written.c_str(), times.data()) == 0, written);
    fs::rename(written, local);
    leftover.path.clear();
  }
  ++counts_.files;
  counts_.bytes += done;
}

void Copier::get_tree(const std::string& path, const fs::path& local) {
  interrupt_.throw_if_interrupted();
  fs::create_directories(local);
  ++counts_.folders;
  for (const _FS_FILE_V2& file : drive_.list(path)) {
    if (file.type == FS_TYPE_DIRECTORY && fs::is_symlink(file.path)) {
      skip(file.path, "a link to a folder");
    } else if (file.type == FS_TYPE_DIRECTORY) {
      get_tree(file.path, local / file.name);
    } else if (fs::is_regular_file(file.path)) {
      get(file, local / file.name);
    } else {
      skip(file.path, "not a file");
    }
  }
}

void Copier::put(const fs::path& local, const std::string& parent, const std::string& name) {
  interrupt_.throw_if_interrupted();
  const File in = open(local, "rb");
  struct stat status {};
  check(::fstat(::fileno(in.get()), &status) == 0, local);
  ProgressBar bar(name, status.st_size);
  drive_.upload(parent, name, status.st_size, interrupt_.handle(),
                [&](unsigned char* block, std::size_t size, long long done) {
                  check(::fseeko(in.get(), done, SEEK_SET) == 0, local);
                  const std::size_t count = std::fread(block, 1, size, in.get());
                  check(std::ferror(in.get()) == 0, local);
                  if (count < size) throw std::runtime_error(local.string() + " became shorter while it was copied");
                  bar.show(done);
                });
  drive_.set_times(below(parent, name), status.st_atime, status.st_mtime);
  ++counts_.files;
  counts_.bytes += status.st_size;
}

void Copier::put_tree(const fs::path& local, const std::string& parent, const std::string& name) {
  interrupt_.throw_if_interrupted();
  const std::string path = below(parent, name);
  if (drive_.create_directory(parent, name).type != FS_TYPE_DIRECTORY) {
    throw std::system_error(ENOTDIR, std::generic_category(), path);
  }
  ++counts_.folders;
  const std::vector<fs::directory_entry> entries(fs::directory_iterator(local), {});
  for (const fs::directory_entry& entry : entries) {
    const std::string entry_name = entry.path().filename().string();
    if (entry.is_directory() && entry.is_symlink()) {
      skip(entry.path().string(), "a link to a folder");
    } else if (entry.is_directory()) {
      put_tree(entry.path(), path, entry_name);
    } else if (entry.is_regular_file()) {
      put(entry.path(), path, entry_name);
    } else {
      skip(entry.path().string(), "not a file");
    }
  }
}

}  // namespace host
