// What a module does that serves this machine's files: links, rights, zones, entries of other kinds, spellings.
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "conformance/disk_host.h"
#include "testing/file_times.h"

namespace {

std::string deep_path(const std::string& folder, std::size_t at_least) {
  std::string path = folder;
  while (path.size() < at_least) {
    path += "/" + std::string(200, 'd');
    fs::create_directory(path);
  }
  return path;
}

void set_times(const std::string& path, time_t accessed, time_t modified) {
  const timespec times[2] = {{accessed, 500'000'000}, {modified, 999'999'999}};
  need(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) == 0, "set the times of a file");
}

void make_pipe(const std::string& path) { need(::mkfifo(path.c_str(), 0600) == 0, "make a pipe"); }

}  // namespace

CONFORMANCE_CHECK(disk, "info.paths", "GetFileInfo follows links and reads a path in any spelling") {
  DiskDrive drive;
  const std::string root = drive.folder;
  fs::create_directories(root + "/a/b");
  drive.write("a/five", "12345");
  fs::create_directory_symlink(root + "/a/b", root + "/a/link");
  fs::create_symlink("nowhere", root + "/a/dangling");
  const std::string deep = deep_path(root, 1500) + "/leaf";
  drive.write(deep.substr(root.size() + 1), "deep");
  struct Row {
    std::string path, name, parent;
    int type;
  };
  for (const Row& row :
       {Row{root + "/a/b/", "b", root + "/a", 2}, Row{root + "/a/./c/../b", "b", root + "/a", 2},
        Row{root + "//a///five", "five", root + "/a", 1}, Row{root + "/a/link", "link", root + "/a", 2},
        Row{deep, "leaf", deep.substr(0, deep.size() - 5), 1}}) {
    const _FS_FILE_V2 file = drive.info(row.path);
    expect_equal(fmt::format("The name at {}", shown(row.path)), file.name, row.name);
    expect_equal(fmt::format("The path at {}", shown(row.path)), file.path, row.parent + "/" + row.name);
    expect_equal(fmt::format("The type at {}", shown(row.path)), file.type, row.type);
  }
  const _FS_FILE_V2 slash = drive.info("/");
  expect_equal("The name at '/'", slash.name, "/");
  expect_equal("The path at '/'", slash.path, "//");
  fs::current_path(root + "/a");
  expect_equal("The path at '../b//', for a relative path can't climb", drive.info("../b//").path, "/b");
  expect_equal("The path at './link/../five'", drive.info("./link/../five").path, "/five");
  for (const std::string& missing : {root + "/a/dangling", root + "/a/five/x", std::string()}) {
    _FS_FILE_V2 file = marked_record("old");
    expect_status(fmt::format("GetFileInfo of {}", shown(missing)),
                  drive->GetFileInfo(missing.c_str(), &file, &drive.message), FS_ERR_NOT_FOUND);
    expect_untouched("GetFileInfo", file, marked_record("old"));
  }
}

CONFORMANCE_CHECK(disk, "info.zones", "Times are told in the zone of each moment, summer time included") {
  DiskDrive drive;
  const std::string file = drive.write("f", "");
  constexpr time_t winter = 1705320000,
                   summer = 1719835199;  // 2024-01-15 12:00:00 and 2024-07-01 11:59:59 UTC
  set_times(file, winter, summer);
  struct Row {
    const char *zone, *accessed, *modified;
  };
  for (const Row& row : {Row{"UTC0", "2024-01-15T12:00:00.000Z", "2024-07-01T11:59:59.000Z"},
                         Row{berlin_zone, "2024-01-15T13:00:00.000Z", "2024-07-01T13:59:59.000Z"},
                         Row{new_york_zone, "2024-01-15T07:00:00.000Z", "2024-07-01T07:59:59.000Z"},
                         Row{"XST-5:45", "2024-01-15T17:45:00.000Z", "2024-07-01T17:44:59.000Z"}}) {
    const ScopedZone zone(row.zone);
    const _FS_FILE_V2 info = drive.info(file);
    expect_equal(fmt::format("The access time in the zone {}", row.zone), info.atime, row.accessed);
    expect_equal(fmt::format("The modification time in the zone {}", row.zone), info.mtime, row.modified);
  }
}

CONFORMANCE_CHECK(disk, "list.kinds", "GetFileList tells links by what they lead to, and entries of every kind") {
  DiskDrive drive;
  const std::string root = drive.folder;
  fs::create_directory(root + "/folder");
  make_pipe(root + "/pipe");
  fs::create_directory_symlink("folder", root + "/link");
  fs::create_symlink("nowhere", root + "/dangling");
  set_times(root + "/dangling", 0, 86400);
  const ScopedZone zone("UTC0");
  for (const std::string& path : {root, root + "/./folder/.."}) {
    Entries entries;
    expect_status("GetFileList", drive->GetFileList(path.c_str(), &entries, &drive.message), FS_OK);
    expect_equal("The number of entries that GetFileList told", entries.calls, 4);
    for (const auto& [name, file] : entries.by_name) {
      expect_equal("The path of a listed entry", file.path, path + "/" + name);
      expect_equal(fmt::format("The type of the listed {}", name), file.type,
                   name == "folder" || name == "link" ? 2 : 1);
    }
    const _FS_FILE_V2& dangling = entries.by_name["dangling"];
    expect_equal("The size of a link that leads nowhere", dangling.size, 7);  // the length of "nowhere"
    expect_equal("The time of a link that leads nowhere", dangling.mtime, "1970-01-02T00:00:00.000Z");
  }
  Entries top;
  expect_status("GetFileList of '/'", drive->GetFileList("/", &top, &drive.message), FS_OK);
  expect_equal("The path of an entry of '/'", top.by_name["dev"].path, "/dev");
}

CONFORMANCE_CHECK(disk, "list.rights",
                  "A folder that can't be read is refused; one that can't be searched gives names") {
  DiskDrive drive;
  fs::permissions(drive.folder, static_cast<fs::perms>(0755));
  for (const char* name : {"locked", "names"}) fs::create_directory(drive / name);
  drive.write("names/a", "abc");
  fs::permissions(drive / "locked", fs::perms::none);
  fs::permissions(drive / "names", fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
  Entries entries, names;
  {
    const Unprivileged nobody;
    expect_status("GetFileList of a folder that can't be read",
                  drive->GetFileList((drive / "locked").c_str(), &entries, &drive.message), FS_ERR_NOT_FOUND);
    expect_status("GetFileList of a folder that can be read and not searched",
                  drive->GetFileList((drive / "names").c_str(), &names, &drive.message), FS_OK);
  }
  expect_equal("The number of entries of a folder that can't be read", entries.calls, 0);
  expect_status("GetFileList of an empty path", drive->GetFileList("", &entries, &drive.message), FS_ERR_NOT_FOUND);
  const _FS_FILE_V2& a = names.by_name["a"];
  expect(names.calls == 1 && a.path == drive / "names/a" && a.type == 1 && a.size == 0 && a.mtime.empty(),
         "An entry that can't be examined is told with more than its name");
}

CONFORMANCE_CHECK(disk, "change.kinds",
                  "Only files and folders are moved, deleted, re-timed, or have folders made in them") {
  DiskDrive drive;
  const std::string pipe = drive / "pipe", dangling = drive / "dangling";
  make_pipe(pipe);
  fs::create_symlink("nowhere", dangling);
  for (const std::string& path : {pipe, dangling}) {
    _FS_FILE_V2 file = marked_record("n");
    file.path = path;
    const _FS_FILE_V2 before = file;
    const char* const time = "2020-01-02T03:04:05Z";
    const std::string kind = path == pipe ? "a pipe" : "a link that leads nowhere";
    const auto refused = [&](const char* call, int status) {
      expect_status(fmt::format("{} of {}", call, kind), status, FS_ERR_NOT_FOUND);
    };
    refused("Move", drive->Move(path.c_str(), drive.folder.c_str(), &file, &drive.message));
    refused("Delete", drive->Delete(&file, &drive.message));
    refused("DeleteDirectory", drive->DeleteDirectory(&file, &drive.message));
    refused("SetFileTime", drive->SetFileTime(path.c_str(), time, time, time, nullptr, &drive.message));
    refused("CreateDirectory", drive->CreateDirectory(path.c_str(), &file, &drive.message));
    expect_untouched("An operation", file, before);
    expect(fs::exists(fs::symlink_status(path)), fmt::format("An operation that refused {} removed it", kind));
  }
}

CONFORMANCE_CHECK(disk, "change.errno", "The system's reason stands in errno, and CreateDirectory has one alone") {
  DiskDrive drive;
  const std::string root = drive.folder;
  fs::create_directories(root + "/to/full/x");
  fs::create_directory(root + "/folder");
  _FS_FILE_V2 file = marked_record("full");
  errno = 0;
  expect_status("Moving a folder onto one that is not empty",
                drive->Move((root + "/folder").c_str(), (root + "/to").c_str(), &file, &drive.message),
                FS_ERR_OPERATION_FAILED);
  expect(errno == ENOTEMPTY || errno == EEXIST, "Moving a folder onto one that is not empty left another errno");
  _FS_FILE_V2 spelt = marked_record("b");
  drive.write("file", "abc");
  expect_status("Moving in an odd spelling",
                drive->Move((root + "/x/../file").c_str(), (root + "/to/").c_str(), &spelt, &drive.message), FS_OK);
  expect_equal("The path after moving in an odd spelling", spelt.path, root + "/to/b");

  const mode_t mask = ::umask(0);
  _FS_FILE_V2 made = marked_record("made");
  expect_status("CreateDirectory", drive->CreateDirectory((root + "/").c_str(), &made, &drive.message), FS_OK);
  ::umask(mask);
  expect_equal("The mode of a new folder", static_cast<int>(fs::status(root + "/made").permissions()), 0755);
  _FS_FILE_V2 endless = marked_record(std::string(300, 'n'));
  errno = 0;
  expect_status("CreateDirectory of a name that is too long",
                drive->CreateDirectory(root.c_str(), &endless, &drive.message), FS_ERR_OPERATION_FAILED);
  expect_equal("The errno after CreateDirectory of a name that is too long", errno, ENOTDIR);
}

CONFORMANCE_CHECK(disk, "change.instants",
                  "SetFileTime sets whole seconds of this machine's clock, at the path as given") {
  DiskDrive drive;
  const std::string file = drive.write("f", "");
  struct Row {
    const char* zone;
    time_t accessed, modified;
  };
  for (const Row& row : {Row{"UTC0", 1577934245, 1593662645}, Row{"XST+5", 1577952245, 1593680645},
                         Row{berlin_zone, 1577930645, 1593659045}}) {  // in summer too: an hour past the wall clock
    const ScopedZone zone(row.zone);
    expect_status("SetFileTime",
                  drive->SetFileTime(file.c_str(), "", "2020-01-02T03:04:05.678Z", "2020-07-02T04:04:05+09:00",
                                     nullptr, &drive.message),
                  FS_OK);
    struct stat status {};
    need(::stat(file.c_str(), &status) == 0, "examine a file");
    expect_equal(fmt::format("The access time set in the zone {}", row.zone), access_time(status).tv_sec,
                 row.accessed);
    expect_equal(fmt::format("The modification time set in the zone {}", row.zone), modification_time(status).tv_sec,
                 row.modified);
    expect_equal("The fraction of a second set by SetFileTime", modification_time(status).tv_nsec, 0);
  }
  const auto touch = [&](const std::string& path) {
    const char* const time = "2020-01-02T03:04:05Z";
    return drive->SetFileTime(path.c_str(), time, time, time, nullptr, &drive.message);
  };
  // As the system resolves it: through a folder that is not there, ".." leads nowhere.
  expect_status("SetFileTime through a missing folder and '..'", touch(drive / "none/../f"), FS_ERR_NOT_FOUND);
  expect_status("SetFileTime through '.'", touch(drive / "./f"), FS_OK);
  const Unprivileged nobody;
  expect_status("SetFileTime without the right to", touch("/"), FS_ERR_OPERATION_FAILED);
}
