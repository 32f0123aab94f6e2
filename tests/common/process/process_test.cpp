#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "common/process/current_path.h"
#include "common/process/executable_path.h"
#include "common/process/login_name.h"
#include "common/process/process_id.h"
#include "common/process/user_name.h"
#include "testing/temporary_folder.h"

namespace {

TEST(ProcessId, TellsTheLivingFromTheDead) {
  EXPECT_TRUE(IsRunningPID(::getpid()));
  EXPECT_TRUE(IsRunningPID(::getpid() + (1LL << 32)));  // the upper half is cut off
  EXPECT_TRUE(IsRunningPID(0));                         // the group of the caller
  const pid_t child = ::fork();
  if (child == 0) ::_exit(0);
  EXPECT_TRUE(IsRunningPID(child));
  ::waitpid(child, nullptr, 0);
  EXPECT_FALSE(IsRunningPID(child));
}

TEST(ProcessIdDeathTest, AnotherUsersProcessCountsAsNotRunning) {
  const auto as_nobody = [] {
    if (::getuid() == 0 && ::setuid(65534) != 0) ::_exit(2);
    ::_exit(IsRunningPID(1) ? 1 : 0);
  };
  EXPECT_EXIT(as_nobody(), testing::ExitedWithCode(0), "");
}

TEST(CurrentPath, IsWhatStandsBeforeTheLastDivider) {
  const std::string rows[][2] = {{"/opt/app/bin/host", "/opt/app/bin"}, {"/host", ""}, {"host", ""}, {"", ""}};
  for (const auto& [path, expected] : rows) EXPECT_EQ(localdisk::directory_of(path), expected) << path;
  EXPECT_EQ(GetCurrentPath(), std::filesystem::read_symlink("/proc/self/exe").parent_path());
}

TEST(CurrentPath, EndsAt1024Bytes) {
  const TemporaryFolder folder;
  for (const std::size_t length : {1U, 1023U, 1024U, 1025U, 1026U, 4000U}) {
    const std::string link = folder / std::to_string(length);
    std::filesystem::create_symlink(std::string(length, 'x'), link);
    EXPECT_EQ(localdisk::link_text(link.c_str()), length <= 1024 ? std::string(length, 'x') : "") << length;
  }
  EXPECT_EQ(localdisk::link_text((folder / "missing").c_str()), "");
}

TEST(UserName, IsTheRealUsers) {
  const passwd* entry = ::getpwuid(::getuid());
  const std::string expected = entry == nullptr ? "" : entry->pw_name;
  EXPECT_EQ(GetUserName(), expected);
  for (const std::size_t too_small : {0U, 1U, 20U}) EXPECT_EQ(localdisk::login_name(::getuid(), too_small), expected);
  EXPECT_EQ(localdisk::login_name(0x7FFF'FFF1), "");  // nobody has this id
}

}  // namespace
