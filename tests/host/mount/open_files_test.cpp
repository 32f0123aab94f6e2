#include "host/mount/open_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <functional>
#include <string>
#include <system_error>
#include <tuple>

#include "testing/scoped_environment.h"
#include "testing/temporary_folder.h"

namespace {

namespace fs = std::filesystem;
using host::errno_of;

// The built module over a folder of its own, which plain calls change and examine behind the drive's back.
class OpenFiles : public testing::Test {
 protected:
  static int errno_from(const std::function<void()>& body) {
    try {
      body();
      return 0;
    } catch (const std::exception& error) {
      return errno_of(error);
    }
  }
  static void write(host::OpenFile& file, std::string_view text, long long offset = 0) {
    file.write({text.data(), text.size()}, offset);
  }
  static std::string read(host::OpenFile& file, long long offset = 0, std::size_t length = 100) {
    std::string text(length, '?');
    text.resize(file.read(text, offset));
    return text;
  }
  std::string on_disk(const std::string& path) { return file_content(folder_ / ("root/" + path)); }

  TemporaryFolder folder_;
  std::string root_ = (fs::create_directory(folder_ / "root"), folder_ / "root");
  host::Module module_{LOCALDISK_MODULE};
  host::Drive drive_{module_};
  host::RootedDrive mapping_{drive_, root_};
  host::CacheFolder cache_{folder_.path()};
  host::OpenFiles files_{mapping_, cache_};
};

TEST_F(OpenFiles, FailWithTheReason) {
  folder_.write("root/file", "content");
  fs::create_directories(root_ + "/full/below");
  ASSERT_EQ(::mkfifo((root_ + "/pipe").c_str(), 0600), 0);
  const std::string long_name = "/" + std::string(256, 'x');
  using Row = std::tuple<const char*, std::function<void()>, int>;
  for (const auto& [what, body, reason] : std::to_array<Row>({
           {"examine a missing entry", [&] { mapping_.attributes("/missing"); }, ENOENT},
           {"list a file", [&] { mapping_.list("/file", {}); }, ENOTDIR},
           {"make what is there", [&] { mapping_.create_directory("/full"); }, EEXIST},
           {"make a folder in a file", [&] { mapping_.create_directory("/file/below"); }, ENOTDIR},
           {"make a folder in nothing", [&] { mapping_.create_directory("/missing/below"); }, ENOENT},
           {"make a folder with a long name", [&] { mapping_.create_directory(long_name); }, ENAMETOOLONG},
           {"make a file named like an upload", [&] { mapping_.create_file("/.localdisk-upload-1"); }, EPERM},
           {"remove a full folder", [&] { files_.remove_directory("/full"); }, ENOTEMPTY},
           {"remove a pipe", [&] { files_.remove("/pipe"); }, EPERM},  // the protocol removes files and folders
           {"move a missing entry", [&] { files_.move("/missing", "/other"); }, ENOENT},
           {"move a folder into itself", [&] { files_.move("/full", "/full/below/full"); }, EINVAL},
           {"replace a full folder", [&] { fs::create_directory(root_ + "/x"), files_.move("/x", "/full"); },
            ENOTEMPTY},
           {"resize a missing file", [&] { files_.resize("/missing", 1); }, ENOENT},
       })) {
    EXPECT_EQ(errno_from(body), reason) << what;
  }
  using Status = std::tuple<int, int, int>;
  for (const auto& [status, left, reason] : std::to_array<Status>({
           {FS_ERR_FAILED, ENOSPC, ENOSPC},
           {FS_ERR_FAILED, 0, EIO},
           {FS_ERR_READ, 0, EIO},
           {FS_ERR_NOT_FOUND, EACCES, EACCES},
           {FS_ERR_NOT_SUPPORTED, EINTR, EOPNOTSUPP},  // what errno holds then is not the operation's
       })) {
    EXPECT_EQ(errno_of(host::OperationError("do", "it", status, left)), reason) << status;
  }
}

TEST_F(OpenFiles, ReadWithinTheFile) {
  folder_.write("root/file", "0123456789");
  const auto file = files_.open("/file");
  EXPECT_EQ(read(*file), "0123456789");
  EXPECT_EQ(read(*file, 8, 5), "89");
  EXPECT_EQ(read(*file, 10, 5), "");
  EXPECT_EQ(read(*file, 1000, 5), "");
  folder_.write("root/file", "changed by others");
  EXPECT_EQ(read(*file), "changed by others");
}

TEST_F(OpenFiles, KeepChangesUntilTheyAreFlushed) {
  folder_.write("root/file", "older");
  const auto file = files_.open("/file"), other = files_.open("/file");
  write(*file, "new", 7);
  EXPECT_EQ(on_disk("file"), "older");
  EXPECT_EQ(read(*other), std::string("older\0\0new", 10));
  EXPECT_EQ(files_.attributes("/file").size, 10);
  file->flush();
  EXPECT_EQ(on_disk("file"), std::string("older\0\0new", 10));
  files_.resize("/file", 2);
  EXPECT_EQ(on_disk("file"), "ol");
  write(*other, "x");
  files_.close(*file);
  EXPECT_EQ(on_disk("file"), "ol") << "another handle is open";
  files_.close(*other);
  EXPECT_EQ(on_disk("file"), "xl");
}

TEST_F(OpenFiles, KeepContentThatTheDriveDoesNotTake) {
  fs::create_directory(root_ + "/away");
  const auto file = files_.create("/away/file"), second = files_.create("/away/second");
  write(*file, "precious");
  write(*second, "too");
  fs::rename(root_ + "/away", root_ + "/hidden");
  EXPECT_EQ(errno_from([&] { file->flush(); }), ENOENT);
  files_.close(*file);
  EXPECT_EQ(files_.attributes("/away/file").size, 8) << "kept without a handle";
  fs::create_directory(root_ + "/away");
  EXPECT_EQ(errno_from([&] { files_.remove_directory("/away"); }), ENOTEMPTY);
  files_.close(*files_.open("/away/file"));
  EXPECT_EQ(on_disk("away/file"), "precious");

  fs::remove_all(root_ + "/away");
  const auto rescued = files_.finish();
  ASSERT_EQ(rescued.size(), 1U);
  EXPECT_EQ(rescued[0].path, "/away/second");
  EXPECT_EQ(rescued[0].kept, cache_.rescue_folder() / "away/second");
  EXPECT_EQ(file_content(rescued[0].kept), "too");
}

TEST_F(OpenFiles, OutliveTheirNames) {
  folder_.write("root/file", "content");
  folder_.write("root/target", "replaced");
  const auto file = files_.open("/file"), target = files_.open("/target");
  write(*target, "R");
  files_.remove("/file", "/alias");
  EXPECT_FALSE(fs::exists(root_ + "/file"));
  EXPECT_EQ(files_.attributes("/alias").size, 7);
  write(*file, "C");
  file->flush();
  EXPECT_EQ(read(*file), "Content");

  const auto fresh = files_.create("/file");
  write(*fresh, "fresh");
  files_.move("/file", "/target");
  for (const auto& open : {file, target, fresh}) files_.close(*open);
  EXPECT_EQ(read(*target), "Replaced");
  EXPECT_EQ(on_disk("target"), "fresh");
  files_.remove("/alias");
  EXPECT_EQ(errno_from([&] { files_.attributes("/alias"); }), ENOENT);
  EXPECT_EQ(std::distance(fs::directory_iterator(root_), {}), 1);
}

TEST_F(OpenFiles, FollowTheMoveOfTheirFolder) {
  fs::create_directory(root_ + "/folder");
  folder_.write("root/folder-too", "");
  const auto file = files_.create("/folder/file"), beside = files_.open("/folder-too");
  write(*file, "content");
  files_.move("/folder", "/moved");
  write(*beside, "here");
  files_.close(*file);
  files_.close(*beside);
  EXPECT_EQ(on_disk("moved/file"), "content");
  EXPECT_EQ(on_disk("folder-too"), "here");
}

TEST_F(OpenFiles, KeepTimesThatWereSetBeforeTheUpload) {
  const ScopedZone zone(kBerlin);
  // A second before the epoch, a summer day, a day after 2038.
  for (const time_t modified : {time_t{-1}, time_t{1720000000}, time_t{2540000000}}) {
    const auto file = files_.open((mapping_.create_file("/file"), "/file"));
    write(*file, "content");
    files_.set_times("/file", {.accessed = std::nullopt, .modified = modified});
    EXPECT_EQ(files_.attributes("/file").modified, modified);
    files_.close(*file);
    struct stat status {};
    ASSERT_EQ(::stat((root_ + "/file").c_str(), &status), 0);
    EXPECT_EQ(status.st_mtime, modified);
    files_.set_times("/file", {.accessed = modified, .modified = std::nullopt});
    EXPECT_EQ(files_.attributes("/file").modified, modified) << "a time that is left out stays";
  }
}

TEST_F(OpenFiles, HideWhatKilledUploadsLeft) {
  fs::create_directory(root_ + "/folder");
  folder_.write("root/folder/.localdisk-upload-0-1", "half a fi");
  mapping_.list("/folder", [](const std::string& name, bool) { ADD_FAILURE() << name; });
  EXPECT_EQ(errno_from([&] { mapping_.attributes("/folder/.localdisk-upload-0-1"); }), ENOENT);
  files_.remove_directory("/folder");
  EXPECT_FALSE(fs::exists(root_ + "/folder"));
}

}  // namespace
