#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/fixtures.h"
#include "bench/rows.h"

namespace {

constexpr long long gigabyte = 1LL << 30;
constexpr long long odd_offset = 4099;
constexpr std::size_t page = 4096;

struct Receiver final : IFetchCallback {
  unsigned long long received = 0;
  int OnData(long long, const unsigned char*, unsigned long long length, long long*) override {
    received += length;
    return 0;
  }
};

// Serves memory of its own, without a copy.
struct Source final : ICacheIO {
  unsigned char* content = nullptr;
  int ReadBlock(_FS_CACHE_REQUEST* request) override {
    request->buffer = content;
    request->delivered = std::min(request->total_size - request->offset, request->capacity);
    return 0;
  }
};

const std::shared_ptr<_FS_HANDLE>& handle() {
  static const auto made = std::make_shared<_FS_HANDLE>();
  return made;
}

// Memory for one chunk that starts at a page and has been touched.
unsigned char* chunk() {
  static unsigned char* const memory = [] {
    auto* const made = static_cast<unsigned char*>(std::aligned_alloc(page, FS_CHUNK_SIZE));
    std::memset(made, 'x', FS_CHUNK_SIZE);
    return made;
  }();
  return memory;
}

const std::string& large_file() {
  static const std::string path = bench::cached_file(gigabyte);
  return path;
}

unsigned long long read_by_module(long long offset, long long length) {
  Receiver receiver;
  bench::drive().Read(large_file().c_str(), offset, length, handle(), &receiver, nullptr);
  return receiver.received;
}

long long read_by_system_calls(long long offset, long long length) {
  const int file = ::open(large_file().c_str(), O_RDONLY | O_CLOEXEC);
  ::lseek(file, offset, SEEK_SET);
  long long done = 0;
  while (done < length) {
    const auto wanted = static_cast<std::size_t>(std::min<long long>(length - done, FS_CHUNK_SIZE));
    const ssize_t got = ::read(file, chunk(), wanted);
    if (got <= 0) break;
    done += got;
  }
  ::close(file);
  return done;
}

unsigned long long random_number() {
  static unsigned long long state = 1;
  state = state * 6364136223846793005ULL + 1442695040888963407ULL;
  return state >> 33;
}

// Of the file less a chunk.
long long random_page() {
  constexpr auto places = (gigabyte - FS_CHUNK_SIZE) / page;
  return static_cast<long long>(random_number() % places * page);
}
long long random_odd_offset() { return random_page() + static_cast<long long>(random_number() % page | 1); }

void add_random_read(const char* name, long long (*offset)(), long long length) {
  bench::Row(name).module([=] { return read_by_module(offset(), length); }).baseline([=] {
    return read_by_system_calls(offset(), length);
  });
}

int upload_by_module(long long size) {
  static const std::string parent = bench::memory_folder();
  static _FS_FILE_V2 record;
  static Source source;
  source.content = chunk();
  record.name = "uploaded";
  record.size = size;
  return bench::drive().Upload(parent.c_str(), handle(), &source, &record, UPLOAD_FLAG{}, nullptr);
}

int upload_by_system_calls(long long size) {
  static const std::string path = bench::memory_folder() + "/uploaded";
  const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  for (long long left = size; left > 0;) {
    const ssize_t put = ::write(file, chunk(), static_cast<std::size_t>(std::min<long long>(left, FS_CHUNK_SIZE)));
    if (put <= 0) break;
    left -= put;
  }
  ::close(file);
  struct stat status {};
  const int failed = ::stat(path.c_str(), &status);
  ::tzset();
  return failed;
}

void add_upload(const char* name, long long size) {
  bench::Row(name).module([size] { return upload_by_module(size); }).baseline([size] {
    return upload_by_system_calls(size);
  });
}

}  // namespace

void bench::add_transfer_rows() {
  Row("Read 1 GiB").module([] { return read_by_module(0, gigabyte); }).baseline([] {
    return read_by_system_calls(0, gigabyte);
  });
  Row("Read 256 MiB from an odd offset").module([] { return read_by_module(odd_offset, gigabyte / 4); }).baseline([] {
    return read_by_system_calls(odd_offset, gigabyte / 4);
  });
  add_random_read("Read 512 KiB at random", random_page, FS_CHUNK_SIZE);
  add_random_read("Read 512 KiB at odd offsets", random_odd_offset, FS_CHUNK_SIZE);
  add_random_read("Read 4 KiB at random", random_page, page);
  add_upload("Upload 128 MiB", 128 << 20);
  add_upload("Upload 64 KiB", 64 << 10);
  add_upload("Upload 1 KiB", 1 << 10);
}
