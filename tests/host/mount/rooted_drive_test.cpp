#include "host/mount/rooted_drive.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "testing/temporary_folder.h"

namespace {

struct RootedDrive : testing::Test {
  TemporaryFolder folder;
  host::Module module{MODULE_FILE};
  host::Drive drive{module};
  host::RootedDrive rooted{drive, folder.path()};
};

std::string content_of(std::size_t size) {
  std::string content(size, ' ');
  for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>('a' + i * 7 % 26);
  return content;
}

// Who gets the content answers a request with it, which can't be done twice.
TEST_F(RootedDrive, HandsOverOnceWhatThereIs) {
  const std::string content = content_of(1000000);
  folder.write("file", content);
  struct Case {
    std::size_t offset, room;
  };
  constexpr Case cases[] = {{0, 524288}, {7, 524288}, {0, 524289}, {0, 1000000}, {0, 1000001}, {475712, 524289},
                            {3, 1},      {999999, 1}, {999999, 9}, {1000000, 9}, {2000000, 9}, {5, 0}};
  for (const auto& [offset, room] : cases) {
    std::vector<std::string> taken;
    std::string memory(room, '?');
    rooted.read("/file", static_cast<long long>(offset), memory,
                [&](std::span<const char> piece) { taken.emplace_back(piece.begin(), piece.end()); });
    const std::string expected = offset < content.size() ? content.substr(offset, room) : std::string();
    ASSERT_EQ(taken.size(), 1U) << offset << ", " << room;
    EXPECT_TRUE(taken.front() == expected) << offset << ", " << room << ": " << taken.front().size() << " bytes";
  }
}

TEST_F(RootedDrive, HandsOverNothingOfWhatCanNotBeRead) {
  bool is_taken = false;
  std::string memory(10, '?');
  try {
    rooted.read("/none", 0, memory, [&](std::span<const char>) { is_taken = true; });
    ADD_FAILURE() << "a missing file was read";
  } catch (const std::exception& error) {
    EXPECT_EQ(host::errno_of(error), ENOENT);
  }
  EXPECT_FALSE(is_taken);
}

TEST_F(RootedDrive, TellsWhatIsAbsentFromWhatCanNotBeExamined) {
  folder.write("file", "abc");
  EXPECT_EQ(rooted.find("/file").value().size, 3);
  EXPECT_FALSE(rooted.find("/none"));
  EXPECT_FALSE(rooted.find("/file/below"));
  EXPECT_FALSE(rooted.find("/" + rooted.own_prefix() + "1"));
  try {
    static_cast<void>(rooted.find("/" + std::string(300, 'n')));
    ADD_FAILURE() << "a name of 300 bytes was looked for";
  } catch (const std::exception& error) {
    EXPECT_EQ(host::errno_of(error), ENAMETOOLONG);
  }
}

// No module has to fill every field.
TEST_F(RootedDrive, ARecordThatServesAgainKeepsNothing) {
  const std::string file = folder.write("file", "abc");
  _FS_FILE_V2 record;
  record.extra1 = "of before";
  record.parents.emplace_back("of before");
  EXPECT_TRUE(drive.find(file, record));
  EXPECT_EQ(record.name + record.extra1, "file");
  EXPECT_TRUE(record.parents.empty());
  EXPECT_FALSE(drive.find(file + "/below", record));
  EXPECT_EQ(record.name + record.mtime, "");
  EXPECT_EQ(record.size, 0);
}

}  // namespace
