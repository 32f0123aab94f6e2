// Threads that end in the middle of an operation: cancelled by the host, or by themselves in one of its callbacks.
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <functional>
#include <iterator>
#include <utility>

#include "tests/conformance/strange_host.h"

namespace {

#if defined(__GLIBC__) && defined(__GLIBCXX__)
constexpr bool is_unwound = true;
#else
constexpr bool is_unwound = false;
#endif

std::ptrdiff_t open_descriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator{});
}

// Says whether the thread ended before `body` was through.
bool ends_early(std::function<void()> body) {
  pthread_t thread{};
  std::pair<std::function<void()>, bool> work(std::move(body), true);
  const auto run = [](void* argument) -> void* {
    auto& [whole, early] = *static_cast<std::pair<std::function<void()>, bool>*>(argument);
    whole();
    early = false;
    return nullptr;
  };
  EXPECT_EQ(::pthread_create(&thread, nullptr, run, &work), 0);
  EXPECT_EQ(::pthread_join(thread, nullptr), 0);
  return work.second;
}

// Every operation that calls the host back, with `end` in one callback after the other.
struct Host {
  std::function<void()> end;
  strange_host::Drive drive;
  strange_host::Handle handle;
  strange_host::Log log;

  void in_add_file() const {
    strange_host::List list;
    list.then = [this](const _FS_FILE_V2&) { end(); };
    drive->GetFileList(drive.folder.path().c_str(), &list, nullptr);
  }
  void in_on_data() const {
    strange_host::Receiver receiver;
    receiver.then = [this](const unsigned char*) { end(); };
    drive->Read((drive.folder / "read").c_str(), 0, 3, handle.shared, &receiver, nullptr);
  }
  void in_progress() {
    handle.then = [this](long long) { end(); };
    strange_host::Receiver receiver;
    drive->Read((drive.folder / "read").c_str(), 0, 3, handle.shared, &receiver, nullptr);
  }
  void in_read_block() const {
    strange_host::Source source([this](_FS_CACHE_REQUEST& request) {
      request.delivered = 3;
      end();
    });
    const int status = drive.upload("f", 3, source, handle);
    EXPECT_EQ(status, 0);
  }
  void in_log_line() {
    log.then = [this] { end(); };
    strange_host::entry<bool(ILog*)>("BindLogger")(&log);
    strange_host::Source source([](_FS_CACHE_REQUEST& request) { request.delivered = 3; });
    const int status = drive.upload("f", 3, source, handle);
    EXPECT_EQ(status, 0);
  }
  void in_set_value() {
    drive.manager.then = end;
    char buffer = 0;
    int length = 1;
    drive->GetCredential(&buffer, &length);
  }
};

using Part = void (*)(Host&);
constexpr std::array<std::pair<const char*, Part>, 6> parts{{
    {"AddFile", [](Host& host) { host.in_add_file(); }},
    {"OnData", [](Host& host) { host.in_on_data(); }},
    {"progress", [](Host& host) { host.in_progress(); }},
    {"ReadBlock", [](Host& host) { host.in_read_block(); }},
    {"LogV", [](Host& host) { host.in_log_line(); }},
    {"SetValue", [](Host& host) { host.in_set_value(); }},
}};

// `end` ends the thread at once where `is_sudden`; otherwise at some call after it.
void expect_released(const std::function<void()>& end, bool is_sudden) {
  for (const auto& [name, part] : parts) {
    SCOPED_TRACE(name);
    Host host{end, {}, {}, {}};
    host.drive.folder.write("read", "abc");
    const auto before = open_descriptors();
    const bool early = ends_early([&host, run = part] {
      run(host);
      ::pthread_testcancel();
    });
    EXPECT_TRUE(early);
    strange_host::entry<void()>("UnbindLogger")();
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(host.handle.shared.use_count(), 1);
    if (is_sudden) {
      EXPECT_FALSE(std::filesystem::exists(host.drive.folder / "f"));  // nothing half uploaded stays
    }
  }
}

class EndedThread : public testing::Test {
  void SetUp() override {
    if (!is_unwound) GTEST_SKIP() << "these libraries don't unwind the stack of a thread that ends";
  }
};

TEST_F(EndedThread, PassesWhenItEndsItself) {
  expect_released([] { ::pthread_exit(nullptr); }, /*is_sudden=*/true);
}

TEST_F(EndedThread, PassesWhenItIsCancelledInACallback) {
  const auto end = [] {
    ::pthread_cancel(::pthread_self());
    ::pthread_testcancel();
  };
  expect_released(end, /*is_sudden=*/true);
}

// It ends where the module next calls what may wait, or after the operation; closing a file is not the place.
TEST_F(EndedThread, PassesWhenItIsCancelledBehindACallback) {
  expect_released([] { ::pthread_cancel(::pthread_self()); }, /*is_sudden=*/false);
}

}  // namespace
