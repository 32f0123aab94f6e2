#include <gtest/gtest.h>
#include <stdlib.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <map>

#include "testing/scoped_environment.h"
#include "tests/conformance/strange_host.h"

namespace {

using strange_host::Drive;

// Names that leave no local path are no way to the root folder.
TEST(Operations, FindNoFolderWhereNoPathIsLeft) {
  const Drive drive;
  const std::string name = "localdisk-test-" + std::to_string(::getpid());
  const std::string moved = drive.folder.write("moved", "abc");
  const strange_host::Handle handle;
  for (const char* const folder : {".", "", "..", "a/.."}) {
    SCOPED_TRACE(folder);
    _FS_FILE_V2 file;
    file.name = name;
    EXPECT_EQ(drive->Move(moved.c_str(), folder, &file, nullptr), 19);
    EXPECT_EQ(drive->Rename(moved.c_str(), folder, &file, nullptr), 19);
    EXPECT_EQ(drive->MoveDir(drive.folder.path().c_str(), folder, &file, nullptr), 19);
    EXPECT_EQ(drive->CreateDirectory(folder, &file, nullptr), 19);
    EXPECT_EQ(drive->Upload(folder, handle.shared, nullptr, &file, no_flag, nullptr), 19);
    EXPECT_TRUE(file.path.empty() && file.mtime.empty());
    EXPECT_EQ(file_content(moved), "abc");
    EXPECT_FALSE(std::filesystem::exists("/" + name));
    std::filesystem::remove_all("/" + name);
  }
}

TEST(Operations, ListWhatTheFolderSaysOfEntriesThatCantBeExamined) {
  const Drive drive;
  const std::string closed = drive.folder / "closed";
  for (const char* const made : {"", "/folder"}) std::filesystem::create_directory(closed + made);
  drive.folder.write("closed/file", "abc");
  std::filesystem::create_symlink("folder", closed + "/link");
  ::chmod(drive.folder.path().c_str(), 0755);
  ::chmod(closed.c_str(), 0444);
  std::map<std::string, int> types;
  strange_host::List list;
  list.then = [&types](const _FS_FILE_V2& file) {
    types[file.name] = file.type;
    EXPECT_TRUE(file.size == 0 && file.mtime.empty() && file.ctime.empty() && file.atime.empty());
  };
  constexpr uid_t nobody = 65534;
  const bool was_root = ::geteuid() == 0;
  if (was_root) {
    ASSERT_EQ(::seteuid(nobody), 0);
  }
  EXPECT_EQ(drive->GetFileList(closed.c_str(), &list, nullptr), 0);
  if (was_root) {
    ASSERT_EQ(::seteuid(0), 0);
  }
  ::chmod(closed.c_str(), 0755);
  EXPECT_EQ(types, (std::map<std::string, int>{{"file", 1}, {"folder", 2}, {"link", 1}}));
}

TEST(Operations, KnowTheRootByItsName) {
  const Drive drive;
  for (const char* const root : {"/", "//", "///"}) {
    _FS_FILE_V2 file;
    EXPECT_EQ(drive->GetFileInfo(root, &file, nullptr), 0);
    EXPECT_EQ(file.name, "/") << root;
    EXPECT_EQ(file.path, "//") << root;
    EXPECT_EQ(file.type, 2);
  }
}

// In Turkish, the small letter of I has no dot.
TEST(Options, HaveTheirNamesInAnyLocale) {
  const TemporaryFolder locales;
  const std::string make = "localedef -i tr_TR -f ISO-8859-9 '" + locales.path() + "/tr_TR' 2>/dev/null";
  const int made = std::system(make.c_str());  // which grumbles about the standard that it was written for
  static_cast<void>(made);
  const ScopedEnvironment where("LOCPATH", locales.path());
  const std::string before = std::setlocale(LC_CTYPE, nullptr);
  if (std::setlocale(LC_CTYPE, "tr_TR") == nullptr) GTEST_SKIP() << "a Turkish locale can't be made here";
  const bool folds = ::strcasecmp("PID", "pid") == 0;
  Drive drive;
  EXPECT_EQ(drive->SetOpt("PID", "seven"), 0);
  EXPECT_EQ(drive->SetOpt("ROOT_path", "/tmp/x"), 0);
  EXPECT_EQ(drive->SetOpt("p\xFD"
                          "d",
                          "eight"),
            0);  // without its dot it is another name
  EXPECT_EQ(drive->SetOpt("pid2", "nine"), 0);
  std::setlocale(LC_CTYPE, before.c_str());
  if (folds) GTEST_SKIP() << "the Turkish locale folds like any other here";
  char text[16];
  int length = sizeof(text);
  EXPECT_EQ(drive->GetCredential(text, &length), 0);
  EXPECT_EQ(drive.manager.owner, "seven");
  length = sizeof(text);
  EXPECT_EQ(drive->GetRootID(text, &length), 0);
  EXPECT_EQ(std::string(text, static_cast<std::size_t>(length)), "/tmp/x");
}

}  // namespace
