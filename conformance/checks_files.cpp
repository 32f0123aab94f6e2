// Metadata, listings, changes of the namespace and of times.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "conformance/fake_host.h"

namespace fs = std::filesystem;

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
  EXPECT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

}  // namespace

BOUNDARY_CHECK(info, "info.record", "GetFileInfo describes what a host path leads to") {
  Drive drive;
  const std::string root = drive.folder.path();
  fs::create_directories(root + "/a/b");
  drive.folder.write("a/empty", "");
  drive.folder.write("a/five", "12345");
  fs::create_directory_symlink(root + "/a/b", root + "/a/link");
  fs::create_symlink("nowhere", root + "/a/dangling");
  const std::string deep = deep_path(root, 1500) + "/leaf";
  drive.folder.write(deep.substr(root.size() + 1), "deep");
  struct Row {
    std::string path, name, parent;
    int type;
    long long size;
  };
  for (const Row& row :
       {Row{root + "/a/b", "b", root + "/a", 2, -1}, Row{root + "/a/b/", "b", root + "/a", 2, -1},
        Row{root + "/a/./c/../b", "b", root + "/a", 2, -1}, Row{root + "//a///five", "five", root + "/a", 1, 5},
        Row{root + "/a/empty", "empty", root + "/a", 1, 0}, Row{root + "/a/link", "link", root + "/a", 2, -1},
        Row{deep, "leaf", deep.substr(0, deep.size() - 5), 1, 4}}) {
    _FS_FILE_V2 file = marked_record("old");
    EXPECT_EQ(drive->GetFileInfo(row.path.c_str(), &file, &drive.message), 0);
    EXPECT_EQ(file.name, row.name);
    EXPECT_EQ(file.path, row.parent + "/" + row.name);
    EXPECT_EQ(file.type, row.type);
    if (row.size >= 0) EXPECT_EQ(file.size, row.size);
    EXPECT(file.extra1 == "1" && file.extra2 == "2" && file.parents.size() == 2);
  }
  const _FS_FILE_V2 slash = drive.info("/");
  EXPECT(slash.name == "/" && slash.path == "//" && slash.type == 2);
  fs::current_path(root + "/a");
  EXPECT_EQ(drive.info("../b//").path, "/b");  // a relative path can't climb, and its parent is the empty path
  EXPECT_EQ(drive.info("./link/../five").path, "/five");
  for (const std::string& missing : {root + "/none", root + "/a/dangling", root + "/a/five/x", std::string()}) {
    _FS_FILE_V2 file = marked_record("old");
    EXPECT_EQ(drive->GetFileInfo(missing.c_str(), &file, &drive.message), 19);
    EXPECT_EQ(as_text(file), as_text(marked_record("old")));
  }
}

BOUNDARY_CHECK(clock, "info.times", "Times are the wall clock of the zone that the process has when it asks") {
  Drive drive;
  const std::string file = drive.folder.write("f", "");
  constexpr time_t winter = 1705320000,
                   summer = 1719835199;  // 2024-01-15 12:00:00 and 2024-07-01 11:59:59 UTC
  set_times(file, winter, summer);
  struct Row {
    const char *zone, *accessed, *modified;
  };
  for (const Row& row : {Row{"UTC0", "2024-01-15T12:00:00.000Z", "2024-07-01T11:59:59.000Z"},
                         Row{kBerlin, "2024-01-15T13:00:00.000Z", "2024-07-01T13:59:59.000Z"},
                         Row{kNewYork, "2024-01-15T07:00:00.000Z", "2024-07-01T07:59:59.000Z"},
                         Row{"XST-5:45", "2024-01-15T17:45:00.000Z", "2024-07-01T17:44:59.000Z"}}) {
    const ScopedEnvironment zone("TZ", row.zone);
    const _FS_FILE_V2 info = drive.info(file);
    EXPECT_EQ(info.atime, row.accessed);
    EXPECT_EQ(info.mtime, row.modified);
  }
}

BOUNDARY_CHECK(listing, "list.entries", "GetFileList hands over every entry with the path that the host gave") {
  Drive drive;
  const std::string root = drive.folder.path();
  Entries none;
  EXPECT_EQ(drive->GetFileList(root.c_str(), &none, &drive.message), 0);
  EXPECT_EQ(none.calls, 0);
  drive.folder.write(".hidden", "abc");
  drive.folder.write("..x", "");
  drive.folder.write("\xFF\n\x01", "");
  fs::create_directory(root + "/dir");
  EXPECT_EQ(::mkfifo((root + "/fifo").c_str(), 0600), 0);
  fs::create_directory_symlink("dir", root + "/link");
  fs::create_symlink("nowhere", root + "/dangling");
  set_times(root + "/dangling", 0, 86400);
  const ScopedZone zone("UTC0");
  for (const std::string& path : {root, root + "/", root + "/./dir/.."}) {
    Entries entries;
    entries.then = [](_FS_FILE_V2& file) { file = marked_record("spoilt"); };
    EXPECT_EQ(drive->GetFileList(path.c_str(), &entries, &drive.message), 0);
    EXPECT_EQ(entries.calls, 7);
    const std::string prefix = path.back() == '/' ? path : path + "/";
    for (const auto& [name, file] : entries.by_name) {
      EXPECT_EQ(file.path, prefix + name);
      EXPECT(file.parents.size() == 1 && file.parents.front() == path && file.extra1.empty() && file.extra2.empty());
      EXPECT_EQ(file.type, name == "dir" || name == "link" ? 2 : 1);
      EXPECT_EQ(file.mtime.size(), 24U);
    }
    EXPECT_EQ(entries.by_name[".hidden"].size, 3);
    EXPECT_EQ(entries.by_name["dangling"].size, 7);  // the link's own: the length of "nowhere"
    EXPECT_EQ(entries.by_name["dangling"].mtime, "1970-01-02T00:00:00.000Z");
  }
  Entries top;
  EXPECT_EQ(drive->GetFileList("/", &top, &drive.message), 0);
  EXPECT_EQ(top.by_name["dev"].path, "/dev");
}

BOUNDARY_CHECK(listing_failures, "list.failures",
               "A listing that can't begin says so, and one that is thrown out ends") {
  Drive drive;
  const std::string file = drive.folder.write("file", "");
  fs::permissions(drive.folder.path(), fs::perms::all);
  const std::string locked = drive.folder / "locked";
  fs::create_directory(locked);
  fs::permissions(locked, fs::perms::none);
  Entries entries;
  {
    const Unprivileged nobody;
    for (const std::string& path : {file, locked, drive.folder / "none", std::string()}) {
      EXPECT_EQ(drive->GetFileList(path.c_str(), &entries, &drive.message), 19);
    }
  }
  EXPECT_EQ(entries.calls, 0);
  entries.then = [](_FS_FILE_V2&) { throw HostError{}; };
  EXPECT_EQ(drive->GetFileList(drive.folder.path().c_str(), &entries, &drive.message), 24);
  EXPECT_EQ(entries.calls, 1);
  // Readable, but with nothing in it that can be examined: names are all there is to tell.
  fs::create_directory(drive.folder / "names");
  drive.folder.write("names/a", "abc");
  fs::permissions(drive.folder / "names", fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
  Entries names;
  {
    const Unprivileged nobody;
    EXPECT_EQ(drive->GetFileList((drive.folder / "names").c_str(), &names, &drive.message), 0);
  }
  const _FS_FILE_V2& a = names.by_name["a"];
  EXPECT(names.calls == 1 && a.path == drive.folder / "names/a" && a.type == 1 && a.size == 0 && a.mtime.empty());
}

BOUNDARY_CHECK(moving, "change.move", "Move, Rename and MoveDir take an entry to a directory and a name") {
  using Operation = int (Protocol::*)(const char*, const char*, _FS_FILE_V2*, char**);
  for (const Operation operation : {&Protocol::Move, &Protocol::Rename, &Protocol::MoveDir}) {
    Drive drive;
    const std::string root = drive.folder.path();
    fs::create_directories(root + "/to/full/x");
    fs::create_directories(root + "/dir/inside");
    drive.folder.write("file", "new");
    drive.folder.write("to/b", "replaced");
    EXPECT_EQ(::mkfifo((root + "/fifo").c_str(), 0600), 0);
    const auto move = [&](const std::string& from, const std::string& to, _FS_FILE_V2& file) {
      return ((*drive.operator->()).*operation)(from.c_str(), to.c_str(), &file, &drive.message);
    };
    _FS_FILE_V2 file = marked_record("b");
    EXPECT_EQ(move(root + "/x/../file", root + "/to/", file), 0);
    EXPECT_EQ(as_text(file).substr(0, root.size() + 9), root + "/to/b|1|3");
    EXPECT(file.extra1 == "1" && file.parents.size() == 2);
    EXPECT(file_content(root + "/to/b") == "new" && !fs::exists(root + "/file"));
    for (const auto& [from, to, name, status] : {std::tuple{"/none", "/to", "n", 19},
                                                 {"/fifo", "/to", "n", 19},
                                                 {"/dir", "/to", "full", 24},
                                                 {"/dir", "/none", "n", 24},
                                                 {"/dir", "/dir/inside", "n", 24}}) {
      _FS_FILE_V2 kept = marked_record(name);
      EXPECT_EQ(move(root + from, root + to, kept), status);
      EXPECT_EQ(as_text(kept), as_text(marked_record(name)));
    }
    _FS_FILE_V2 kept = marked_record("full");
    errno = 0;
    EXPECT(move(root + "/dir", root + "/to", kept) == 24 && (errno == ENOTEMPTY || errno == EEXIST));
    EXPECT(fs::exists(root + "/fifo") && fs::exists(root + "/dir/inside"));
    _FS_FILE_V2 directory = marked_record("moved");
    EXPECT_EQ(move(root + "/dir", root, directory), 0);
    EXPECT(directory.type == 2 && fs::exists(root + "/moved/inside"));
  }
}

BOUNDARY_CHECK(making, "change.create", "CreateDirectory makes a directory or accepts what stands there") {
  Drive drive;
  const std::string root = drive.folder.path();
  drive.folder.write("file", "abc");
  EXPECT_EQ(::mkfifo((root + "/fifo").c_str(), 0600), 0);
  const mode_t mask = ::umask(0);
  for (int again = 0; again < 2; ++again) {
    _FS_FILE_V2 made = marked_record("made");
    EXPECT_EQ(drive->CreateDirectory((root + "/").c_str(), &made, &drive.message), 0);
    EXPECT(made.type == 2 && made.name == "made" && made.path == root + "/made");
  }
  EXPECT_EQ(static_cast<int>(fs::status(root + "/made").permissions()), 0755);
  ::umask(mask);
  _FS_FILE_V2 existing = marked_record("file");
  EXPECT_EQ(drive->CreateDirectory(root.c_str(), &existing, &drive.message), 0);
  EXPECT(existing.type == 1 && existing.size == 3);
  for (const auto& [parent, status] : {std::pair{"/none", 19}, {"/fifo", 19}, {"/file", 24}}) {
    _FS_FILE_V2 kept = marked_record("n");
    errno = 0;
    EXPECT_EQ(drive->CreateDirectory((root + parent).c_str(), &kept, &drive.message), status);
    EXPECT_EQ(as_text(kept), as_text(marked_record("n")));
    if (status == 24) EXPECT_EQ(errno, ENOTDIR);
  }
  _FS_FILE_V2 endless = marked_record(std::string(300, 'n'));
  EXPECT_EQ(drive->CreateDirectory(root.c_str(), &endless, &drive.message), 24);
  EXPECT_EQ(errno, ENOTDIR);  // not ENAMETOOLONG: hosts are told one reason
}

BOUNDARY_CHECK(deleting, "change.delete", "Delete and DeleteDirectory remove a file or an empty directory") {
  using Operation = int (Protocol::*)(_FS_FILE_V2*, char**);
  for (const Operation operation : {&Protocol::Delete, &Protocol::DeleteDirectory}) {
    Drive drive;
    const std::string root = drive.folder.path();
    fs::create_directories(root + "/full/inside");
    fs::create_directory(root + "/empty");
    drive.folder.write("file", "");
    fs::create_symlink("nowhere", root + "/dangling");
    EXPECT_EQ(::mkfifo((root + "/fifo").c_str(), 0600), 0);
    for (const auto& [path, status] :
         {std::pair{"/file", 0}, {"/empty/", 0}, {"/full", 24}, {"/fifo", 19}, {"/none", 19}, {"/dangling", 19}}) {
      _FS_FILE_V2 file = marked_record("n");
      file.path = root + path;
      const std::string before = as_text(file);
      EXPECT_EQ(((*drive.operator->()).*operation)(&file, &drive.message), status);
      EXPECT_EQ(as_text(file), before);
      EXPECT_EQ(fs::exists(fs::symlink_status(file.path)), status != 0 && std::string_view(path) != "/none");
    }
  }
}

BOUNDARY_CHECK(touching, "change.times", "SetFileTime takes its texts as local standard time, down to the second") {
  Drive drive;
  const std::string file = drive.folder.write("f", "");
  EXPECT_EQ(::mkfifo((drive.folder / "fifo").c_str(), 0600), 0);
  struct Row {
    const char* zone;
    time_t accessed, modified;
  };
  for (const Row& row : {Row{"UTC0", 1577934245, 1593662645}, Row{"XST+5", 1577952245, 1593680645},
                         Row{kBerlin, 1577930645, 1593659045}}) {  // in summer too: an hour past the wall clock
    const ScopedZone zone(row.zone);
    _FS_FILE_V2 kept = marked_record("n");
    EXPECT_EQ(drive->SetFileTime(file.c_str(), "not used", "2020-01-02T03:04:05.678Z", "2020-07-02T04:04:05+09:00",
                                 &kept, &drive.message),
              0);
    EXPECT_EQ(as_text(kept), as_text(marked_record("n")));
    struct stat status {};
    EXPECT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_atim.tv_sec, row.accessed);
    EXPECT_EQ(status.st_mtim.tv_sec, row.modified);
    EXPECT_EQ(status.st_mtim.tv_nsec, 0);
  }
  const auto touch = [&](const std::string& path) {
    const char* const time = "2020-01-02T03:04:05Z";
    return drive->SetFileTime(path.c_str(), time, time, time, nullptr, &drive.message);
  };
  EXPECT_EQ(touch(drive.folder / "fifo"), 19);
  EXPECT_EQ(touch(drive.folder / "none"), 19);
  // As the system resolves it: through a directory that is not there, ".." leads nowhere.
  EXPECT_EQ(touch(drive.folder / "none/../f"), 19);
  EXPECT_EQ(touch(drive.folder / "./f"), 0);
  const Unprivileged nobody;
  EXPECT_EQ(touch("/"), 24);
}
