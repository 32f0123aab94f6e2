#include "localdisk/file.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "localdisk/os_handles.h"

namespace {

constexpr int closed = -1;

// close is a call at which a cancelled thread ends, before the descriptor is gone and even in a destructor, which may
// not be left that way: the thread has to wait until the next one.
int close_in_any_case(int descriptor) {
  int state = 0;
  ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
  const int result = ::close(descriptor);
  ::pthread_setcancelstate(state, nullptr);
  return result;
}

}  // namespace

namespace localdisk {

File File::open_to_read(const std::string& path) { return File(::open(path.c_str(), O_RDONLY | O_CLOEXEC)); }

File File::create(const std::string& path) {
  constexpr mode_t mode = 0666;
  return File(::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
}

File::File(File&& other) noexcept : descriptor_(std::exchange(other.descriptor_, closed)) {}

File::~File() {
  const KeepErrno keep;
  if (is_open()) close_in_any_case(descriptor_);
}

bool File::seek(long long offset) const { return ::lseek(descriptor_, offset, SEEK_SET) >= 0; }

std::size_t File::read(unsigned char* out, std::size_t count) const {
  std::size_t done = 0;
  while (done < count) {
    const ssize_t got = ::read(descriptor_, out + done, count - done);
    if (got <= 0) break;
    done += static_cast<std::size_t>(got);
  }
  return done;
}

std::size_t File::write(const unsigned char* bytes, std::size_t count) const {
  constexpr std::size_t most_at_once = 1 << 30;  // some systems refuse what an int can't count
  std::size_t done = 0;
  while (done < count) {
    const ssize_t put = ::write(descriptor_, bytes + done, std::min(count - done, most_at_once));
    if (put <= 0) break;
    done += static_cast<std::size_t>(put);
  }
  return done;
}

bool File::close() { return close_in_any_case(std::exchange(descriptor_, closed)) == 0; }

}  // namespace localdisk
