#include "bench/fixtures.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "plugin/entry_points.h"
#include "testing/temporary_folder.h"

namespace {

struct Manager final : IProtocolManager {
  int GetPid(const char*, char*, int*) override { return 0; }
  int SetValue(const char*, const char*, const char*, int) override { return 0; }
};

std::string given_or_temporary(const char* variable) {
  if (const char* given = std::getenv(variable)) {
    std::filesystem::create_directories(given);
    return given;
  }
  static TemporaryFolder folder;
  return folder.path();
}

std::string filled_folder(const std::string& base, int entries) {
  std::string folder = base + "/entries-" + std::to_string(entries);
  const std::string done = folder + ".made";
  if (std::filesystem::exists(done)) return folder;
  std::filesystem::create_directories(folder);
  for (int i = 0; i < entries; ++i) {
    const std::string entry = folder + "/document-" + std::to_string(i) + ".txt";
    if (::mknod(entry.c_str(), S_IFREG | 0644, 0) != 0) throw std::runtime_error("can't make " + entry);
    // No two entries of the same time, as in a folder that grew over the years.
    const std::array<timeval, 2> times{{{1'700'000'000 - i * 997L, 0}, {1'600'000'000 - i * 1009L, 0}}};
    ::utimes(entry.c_str(), times.data());
  }
  std::ofstream{done};
  return folder;
}

}  // namespace

const std::string& bench::memory_folder() {
  static const std::string folder = given_or_temporary("LOCALDISK_BENCH_MEMORY");
  return folder;
}

const std::string& bench::disk_folder() {
  static const std::string folder = given_or_temporary("LOCALDISK_BENCH_DISK");
  return folder;
}

std::string bench::folder_of(int entries) { return filled_folder(memory_folder(), entries); }

std::string bench::folder_on_disk_of(int entries) { return filled_folder(disk_folder(), entries); }

std::string bench::cached_file(long long bytes) {
  std::string path = disk_folder() + "/content-" + std::to_string(bytes);
  std::error_code absent;
  if (static_cast<long long>(std::filesystem::file_size(path, absent)) == bytes && !absent) return path;
  std::ofstream file(path, std::ios::binary);
  std::string block(1 << 20, '\0');
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 31 >> 3);
  for (long long left = bytes; left > 0; left -= static_cast<long long>(block.size()))
    file.write(block.data(), std::min<long long>(left, static_cast<long long>(block.size())));
  return path;
}

std::string bench::text_file(const std::string& name, const std::string& content) {
  std::string path = memory_folder() + "/" + name;
  std::ofstream(path, std::ios::binary) << content;
  // Three times, as of a file that somebody works with: equal ones would be told once.
  const std::array<timeval, 2> times{{{1'700'000'000, 0}, {1'600'000'000, 0}}};
  ::utimes(path.c_str(), times.data());
  return path;
}

void bench::set_zone() {
  static const int set = ::setenv("TZ", ":/etc/localtime", 1);
  static_cast<void>(set);
}

IProtocol_V2& bench::drive() {
  static IProtocol_V2* const object = [] {
    static Manager manager;
    void* made = nullptr;
    if (!GetProtocol(&manager, &made)) throw std::runtime_error("the module gives no object");
    return static_cast<IProtocol_V2*>(made);
  }();
  return *object;
}
