#include "common/process/command.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>

#include "common/process/read_output.h"
#include "testing/temporary_folder.h"
#include "tests/common/process/inheritable_descriptors.h"

namespace {

TEST(Command, ReturnsWhatTheCommandPrints) {
  const std::string rows[][2] = {
      {"printf 'one\\ntwo\\nthree\\n'", "one\ntwo\nthree\n"},
      {"printf '%0300d\\n%0127d' 7 8", std::string(299, '0') + "7\n" + std::string(126, '0') + "8"},
      {"exit 3", ""},
      {"echo told; exit 1", "told\n"},
      {"/no/such/command 2>&-", ""},
      {"printf 'ab\\0cd\\nef\\n'", "abef\n"},                         // a NUL takes its line feed along
      {"printf 'ab\\0%0124dxyz' 0", "abxyz"},                         // 2 + 1 + 124: the part is full
      {"printf '%0126d\\0%0127d' 0 0", std::string(126 + 127, '0')},  // at the very end of a part
  };
  for (const auto& [command, expected] : rows) EXPECT_EQ(pexec(command), expected) << command;
}

TEST(CommandDeathTest, SignalsTakeNothingAway) {
  const auto interrupted_every_3_ms = [] {
    struct sigaction action {};  // without the flag that takes interrupted calls up again
    action.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &action, nullptr);
    const itimerval interval{{0, 3'000}, {0, 3'000}};
    ::setitimer(ITIMER_REAL, &interval, nullptr);
    ::_exit(pexec("for i in 1 2 3 4 5; do printf $i; sleep 0.02; done; echo") == "12345\n" ? 0 : 1);
  };
  EXPECT_EXIT(interrupted_every_3_ms(), testing::ExitedWithCode(0), "");
}

TEST(Command, AFailingStreamEndsWithWhatCameBefore) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
  ASSERT_EQ(::write(ends[0], "unread", 6), 6);  // so that closing the other end resets the connection
  ASSERT_EQ(::write(ends[1], "line\npart", 9), 9);
  ::close(ends[1]);
  const std::shared_ptr<std::FILE> stream(::fdopen(ends[0], "r"), std::fclose);
  EXPECT_EQ(localdisk::read_output(*stream), "line\npart");
  EXPECT_NE(std::ferror(stream.get()), 0);
}

TEST(CommandDeathTest, ThrowsWhenNothingCanBeStarted) {
  const auto without_descriptors = [] {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit none{0, limit.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
    try {
      pexec("echo started");
    } catch (const std::runtime_error& error) {
      ::setrlimit(RLIMIT_NOFILE, &limit);  // sanitizers want descriptors of their own to look at the error
      ::_exit(error.what() == std::string("popen() failed!") ? 0 : 1);
    }
  };
  EXPECT_EXIT(without_descriptors(), testing::ExitedWithCode(0), "");
}

TEST(Command, NoOtherChildInheritsTheStream) {
  const TemporaryFolder folder;
  const std::string pipe = folder / "pipe";
  std::string output;
  EXPECT_EQ(inheritable_while([&] { output = pexec("cat '" + pipe + "'"); }, pipe, "x\n"), 0);
  EXPECT_EQ(output, "x\n");
}

}  // namespace
