#include "localdisk/local_disk.h"

#include <gtest/gtest.h>

#include <array>
#include <tuple>

#include "plugin/log_line.h"
#include "testing/scoped_environment.h"

namespace {

TEST(LocalDisk, MapsHostPathsToThemselves) {
  LocalDisk disk(nullptr);
  disk.SetOpt("root_path", "/tmp/x");
  for (const auto& [path, local] : std::to_array<std::tuple<const char*, std::string_view>>(
           {{"/", "/."}, {"/a/..", "/."}, {"/a/b/", "/a/b"}, {"", ""}, {"a//b", "a/b"}, {".", ""}, {"/a", "/a"}})) {
    EXPECT_EQ(disk.GetPath(path), local) << path;
  }
  for (const auto& [directory, name, joined] : std::to_array<std::tuple<const char*, const char*, std::string_view>>(
           {{"/a", "b", "/a/b"}, {"/a/", "b", "/a/b"}, {"", "b", "/b"}, {"/", "/", "//"}, {"/a", "", "/a/"}})) {
    EXPECT_EQ(disk.JoinPath(directory, name), joined);
  }
}

TEST(LocalDisk, FillsARecordFromAStatus) {
  const ScopedZone berlin(berlin_zone);
  LocalDisk disk(nullptr);
  struct stat status {};
  status.st_mode = S_IFSOCK;
  status.st_size = 1LL << 40;
  status.st_ctime = 1709644029;  // 2024-03-05 14:07:09 in Berlin
  status.st_atime = -1;
  status.st_mtime = 1719835199;
  _FS_FILE_V2 file;
  file.name = "n";
  file.parents = {"kept"};
  disk.FillData("/d", &status, &file);
  EXPECT_EQ(std::tuple(file.type, file.size, file.path), std::tuple(1, 1LL << 40, "/d/n"));
  EXPECT_EQ(file.ctime, "2024-03-05T14:07:09.000Z");
  EXPECT_EQ(file.atime, "1970-01-01T00:59:59.000Z");
  EXPECT_EQ(file.mtime, "2024-07-01T13:59:59.000Z");
  EXPECT_EQ(file.parents.front(), "kept");
}

TEST(LocalDisk, RefusesWhatItCantDoWithout) {
  LocalDisk disk(nullptr);
  char text = 0;
  int length = 0;
  EXPECT_EQ(disk.SetOpt(nullptr, ""), FS_ERR_INVALID_ARG);
  EXPECT_EQ(disk.SetOpt("root_path", nullptr), FS_ERR_INVALID_ARG);
  EXPECT_EQ(disk.GetType(nullptr), FS_ERR_INVALID_ARG);
  EXPECT_EQ(disk.GetUserInfo(&text, nullptr), FS_ERR_INVALID_ARG);
  EXPECT_EQ(disk.GetCredential(&text, &length), FS_ERR_OPERATION_FAILED);  // there is no manager to tell
}

// What a class derived from LocalDisk overrides, the operations that forward must reach.
class Derived : public LocalDisk {
 public:
  Derived() : LocalDisk(nullptr) {}
  int Move(const char*, const char*, _FS_FILE_V2*, char**) override { return 101; }
  int Delete(_FS_FILE_V2*, char**) override { return 102; }
  int GetFileInfo(const char* path, _FS_FILE_V2*, char**) override {
    asked = path;
    return 103;
  }
  std::string asked;
};

TEST(LocalDisk, ForwardsThroughItsTable) {
  Derived disk;
  _FS_FILE_V2 file;
  EXPECT_EQ(disk.Rename("", "", &file, nullptr), 101);
  EXPECT_EQ(disk.MoveDir("", "", &file, nullptr), 101);
  EXPECT_EQ(disk.DeleteDirectory(&file, nullptr), 102);
  file.name = "tmp";
  EXPECT_EQ(disk.CreateDirectory("//", &file, nullptr),
            FS_OK);  // the status of the description is not looked at
  EXPECT_EQ(disk.asked, "///tmp");
}

TEST(Logger, DropsALineWithoutALogger) { localdisk::__LOG__A(nullptr, LOGLEVEL_INFO, "%s", "nobody hears this"); }

}  // namespace
