// Counting what a child of the test process would inherit.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <future>
#include <string>

inline int inheritable_descriptors() {
  int count = 0;
  for (int descriptor = 0; descriptor < 256; ++descriptor) count += ::fcntl(descriptor, F_GETFD) == 0;
  return count;
}

// How many more there are while `reader` waits for content of the pipe `pipe`, which then gets `content`.
inline int inheritable_while(std::function<void()> reader, const std::string& pipe, const std::string& content) {
  ::mkfifo(pipe.c_str(), 0600);
  const int before = inheritable_descriptors();
  const auto reading = std::async(std::launch::async, std::move(reader));
  const int writer = ::open(pipe.c_str(), O_WRONLY | O_CLOEXEC);  // waits until the reader has opened it
  const int during = inheritable_descriptors();
  if (::write(writer, content.data(), content.size()) < 0) return -1;
  ::close(writer);
  return during - before;
}
