// What every module does: metadata, listings, changes of the namespace and of times. Everything is made and looked at
// through the operations.
#include <array>
#include <regex>

#include "conformance/fake_host.h"
#include "testing/scoped_environment.h"

namespace {

bool is_timestamp(const std::string& text) {
  static const std::regex form(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.000Z)");
  return std::regex_match(text, form);
}

void expect_record(std::string_view call, const _FS_FILE_V2& file, const std::string& path, int type,
                   long long size) {
  expect_equal(fmt::format("The name after {}", call), file.name, path.substr(path.rfind('/') + 1));
  expect_equal(fmt::format("The path after {}", call), file.path, path);
  expect_equal(fmt::format("The type after {}", call), file.type, type);
  if (type == type_file) expect_equal(fmt::format("The size after {}", call), file.size, size);
  for (const std::string& time : {file.mtime, file.atime, file.ctime})
    expect(is_timestamp(time), fmt::format("A time after {} is {}, which is no timestamp", call, shown(time)));
}

void expect_members_kept(std::string_view call, const _FS_FILE_V2& file) {
  expect(keeps_host_members(file), fmt::format("{} changed a member of the record that is the host's own", call));
}

// Minutes of the day of the text "....-..-..THH:MM...".
int minutes(const std::string& time) {
  return is_timestamp(time) ? std::stoi(time.substr(11, 2)) * 60 + std::stoi(time.substr(14, 2)) : -1;
}

using MoveOperation = int (Protocol::*)(const char*, const char*, _FS_FILE_V2*, char**);
using DeleteOperation = int (Protocol::*)(_FS_FILE_V2*, char**);

}  // namespace

CONFORMANCE_CHECK(contract, "info.record", "GetFileInfo describes a file and a folder") {
  Drive drive;
  const std::string folder = drive.make_folder("folder");
  const std::string empty = drive.make_file("empty", "");
  const std::string five = drive.make_file("five", "12345");
  struct Row {
    std::string path;
    int type;
    long long size;
  };
  for (const Row& row : {Row{folder, type_directory, 0}, Row{empty, type_file, 0}, Row{five, type_file, 5}}) {
    _FS_FILE_V2 file = marked_record("old");
    expect_status("GetFileInfo", drive->GetFileInfo(row.path.c_str(), &file, &drive.message), FS_OK);
    expect_record("GetFileInfo", file, row.path, row.type, row.size);
    expect_members_kept("GetFileInfo", file);
  }
  for (const std::string& missing : {drive / "none", five + "/x", drive / "none/x"}) {
    _FS_FILE_V2 file = marked_record("old");
    expect_status("GetFileInfo of a missing entry", drive->GetFileInfo(missing.c_str(), &file, &drive.message),
                  FS_ERR_NOT_FOUND);
    expect_untouched("GetFileInfo of a missing entry", file, marked_record("old"));
  }
}

CONFORMANCE_CHECK(contract, "info.times", "Times are the wall clock of the zone that the process has when it asks") {
  Drive drive;
  const std::string path = drive.make_file("f", "");
  std::array<int, 2> shown_minutes{};
  const std::array<const char*, 2> zones{"UTC0", "XST-5:45"};
  for (std::size_t i = 0; i < zones.size(); ++i) {
    const ScopedZone zone(zones[i]);
    shown_minutes[i] = minutes(drive.info(path).mtime);
  }
  constexpr int day = 24 * 60;
  expect_equal("The distance in minutes of one time in two zones that are 5:45 apart",
               (shown_minutes[1] - shown_minutes[0] + day) % day, 5 * 60 + 45);
}

CONFORMANCE_CHECK(contract, "names.bytes", "A name may hold any byte but the separator and the terminator") {
  Drive drive;
  std::size_t made = 0;
  for (int value = 1; value < 256; ++value) {
    if (value == '/') continue;
    const std::string name{static_cast<char>(value), 'n'};
    Source source(name);
    Transfer transfer;
    expect_status(fmt::format("Upload of a file named {}", shown(name)), drive.upload(name, source, transfer), FS_OK);
    expect_equal("The name of an entry", drive.info(drive / name).name, name);
    ++made;
  }
  Entries entries;
  expect_status("GetFileList", drive->GetFileList(drive.folder.c_str(), &entries, &drive.message), FS_OK);
  expect_equal("The number of different names", entries.by_name.size(), made);
  for (const auto& [name, file] : entries.by_name)
    expect(drive.content(drive / name) == name, fmt::format("The file {} holds another one's content", shown(name)));
}

CONFORMANCE_CHECK(contract, "list.entries", "GetFileList tells each entry once, under the path that the host gave") {
  Drive drive;
  Entries none;
  expect_status("GetFileList of an empty folder", drive->GetFileList(drive.folder.c_str(), &none, &drive.message),
                FS_OK);
  expect_equal("The number of entries of an empty folder", none.calls, 0);
  drive.make_file(".hidden", "abc");
  drive.make_file("..x", "");
  drive.make_folder("folder");
  drive.make_folder("folder/inside");
  for (const std::string& path : {drive.folder, drive.folder + "/"}) {
    Entries entries;
    entries.then = [](_FS_FILE_V2& file) { file = marked_record("spoilt"); };
    expect_status("GetFileList", drive->GetFileList(path.c_str(), &entries, &drive.message), FS_OK);
    expect_equal("The number of entries that GetFileList told", entries.calls, 3);
    for (const char* name : {".hidden", "..x", "folder"})
      expect(entries.by_name.count(name) == 1, fmt::format("GetFileList did not tell {}", name));
    for (const auto& [name, file] : entries.by_name) {
      const bool is_folder = name == "folder";
      expect_record("GetFileList", file, drive / name, is_folder ? type_directory : type_file,
                    name == ".hidden" ? 3 : 0);
      expect(file.parents.size() == 1 && file.parents.front() == path,
             "The parents of a listed entry are not the folder as the host named it");
      expect(file.extra1.empty() && file.extra2.empty(), "A listed entry has text in the host's own members");
    }
  }
}

CONFORMANCE_CHECK(contract, "list.failures", "A listing that can't begin says so; one whose host throws ends") {
  Drive drive;
  const std::string file = drive.make_file("file", "");
  drive.make_file("other", "");
  Entries entries;
  for (const std::string& path : {file, drive / "none"}) {
    expect_status("GetFileList of what is no folder", drive->GetFileList(path.c_str(), &entries, &drive.message),
                  FS_ERR_NOT_FOUND);
  }
  expect_equal("The number of entries of what is no folder", entries.calls, 0);
  entries.then = [](_FS_FILE_V2&) { throw HostError{}; };
  expect_status("GetFileList whose AddFile throws",
                drive->GetFileList(drive.folder.c_str(), &entries, &drive.message), FS_ERR_OPERATION_FAILED);
  expect_equal("The number of entries told when AddFile throws", entries.calls, 1);
}

CONFORMANCE_CHECK(contract, "change.create", "CreateDirectory makes a folder or accepts what stands there") {
  Drive drive;
  const std::string file = drive.make_file("file", "abc");
  for (const char* what : {"CreateDirectory", "CreateDirectory of a folder that exists"}) {
    _FS_FILE_V2 made = marked_record("made");
    expect_status(what, drive->CreateDirectory(drive.folder.c_str(), &made, &drive.message), FS_OK);
    expect_record(what, made, drive / "made", type_directory, 0);
    expect_members_kept(what, made);
  }
  expect_equal("The type of a new folder", drive.info(drive / "made").type, type_directory);
  _FS_FILE_V2 existing = marked_record("file");
  const char* const onto = "CreateDirectory of the name of a file";
  expect_status(onto, drive->CreateDirectory(drive.folder.c_str(), &existing, &drive.message), FS_OK);
  expect_record(onto, existing, file, type_file, 3);
  for (const std::string& parent : {drive / "none", file}) {
    _FS_FILE_V2 kept = marked_record("n");
    expect_status("CreateDirectory in what is no folder",
                  drive->CreateDirectory(parent.c_str(), &kept, &drive.message),
                  {FS_ERR_NOT_FOUND, FS_ERR_OPERATION_FAILED});
    expect_untouched("CreateDirectory in what is no folder", kept, marked_record("n"));
  }
}

CONFORMANCE_CHECK(contract, "change.move", "Move, Rename and MoveDir take an entry to a folder and a name") {
  for (const MoveOperation operation : {&Protocol::Move, &Protocol::Rename, &Protocol::MoveDir}) {
    Drive drive;
    const auto move = [&](const std::string& from, const std::string& to, _FS_FILE_V2& file) {
      return ((*drive.operator->()).*operation)(from.c_str(), to.c_str(), &file, &drive.message);
    };
    drive.make_folder("to");
    drive.make_folder("to/full");
    drive.make_folder("to/full/x");
    drive.make_folder("folder");
    drive.make_folder("folder/inside");
    const std::string from = drive.make_file("file", "new");
    Source older("replaced");
    Transfer transfer;
    expect_status("Upload into a folder", drive.upload_into(drive / "to", "b", older, transfer), FS_OK);

    _FS_FILE_V2 file = marked_record("b");
    expect_status("Moving a file onto another", Drive::offered("Move", move(from, drive / "to", file)), FS_OK);
    expect_record("moving a file", file, drive / "to/b", type_file, 3);
    expect_members_kept("Moving a file", file);
    expect(drive.content(drive / "to/b") == "new", "A file that was moved onto another has not taken its place");
    _FS_FILE_V2 gone;
    expect_status("GetFileInfo of the old path of a moved file",
                  drive->GetFileInfo(from.c_str(), &gone, &drive.message), FS_ERR_NOT_FOUND);

    struct Row {
      const char *what, *from, *to, *name;
      int status;
    };
    for (const Row& row :
         {Row{"Moving a missing entry", "none", "to", "n", FS_ERR_NOT_FOUND},
          Row{"Moving a folder onto one that is not empty", "folder", "to", "full", FS_ERR_OPERATION_FAILED},
          Row{"Moving a folder to a missing one", "folder", "none", "n", FS_ERR_OPERATION_FAILED},
          Row{"Moving a folder into itself", "folder", "folder/inside", "n", FS_ERR_OPERATION_FAILED}}) {
      _FS_FILE_V2 kept = marked_record(row.name);
      expect_status(row.what, move(drive / row.from, drive / row.to, kept), row.status);
      expect_untouched(row.what, kept, marked_record(row.name));
    }
    _FS_FILE_V2 folder = marked_record("moved");
    expect_status("Moving a folder", move(drive / "folder", drive.folder, folder), FS_OK);
    expect_record("moving a folder", folder, drive / "moved", type_directory, 0);
    expect_equal("The type of what a moved folder holds", drive.info(drive / "moved/inside").type, type_directory);
  }
}

CONFORMANCE_CHECK(contract, "change.delete", "Delete and DeleteDirectory remove a file or an empty folder") {
  for (const DeleteOperation operation : {&Protocol::Delete, &Protocol::DeleteDirectory}) {
    Drive drive;
    drive.make_file("file", "abc");
    drive.make_folder("empty");
    drive.make_folder("full");
    drive.make_folder("full/inside");
    struct Row {
      const char *what, *name;
      int status;
    };
    for (const Row& row : {Row{"Deleting a file", "file", FS_OK}, Row{"Deleting an empty folder", "empty", FS_OK},
                           Row{"Deleting a folder that is not empty", "full", FS_ERR_OPERATION_FAILED},
                           Row{"Deleting a missing entry", "none", FS_ERR_NOT_FOUND}}) {
      _FS_FILE_V2 file = marked_record("n");
      file.path = drive / row.name;
      const _FS_FILE_V2 before = file;
      expect_status(row.what, Drive::offered("Delete", ((*drive.operator->()).*operation)(&file, &drive.message)),
                    row.status);
      expect(as_text(file) == as_text(before), fmt::format("{} changed the record, which is only read", row.what));
      _FS_FILE_V2 after;
      expect_status(fmt::format("GetFileInfo after {}", row.what),
                    drive->GetFileInfo(file.path.c_str(), &after, &drive.message),
                    row.status == FS_ERR_OPERATION_FAILED ? FS_OK : FS_ERR_NOT_FOUND);
    }
    expect_equal("The type of what a folder holds that was not deleted", drive.info(drive / "full/inside").type,
                 type_directory);
  }
}

CONFORMANCE_CHECK(contract, "change.times", "SetFileTime takes its texts as local standard time, to the second") {
  Drive drive;
  const std::string path = drive.make_file("f", "");
  const char* const winter = "2020-01-02T03:04:05.000Z";
  struct Row {
    const char *zone, *given, *told;
  };
  for (const Row& row : {Row{"UTC0", "2020-07-02T04:04:05.000Z", "2020-07-02T04:04:05.000Z"},
                         Row{"XST+5", "2020-07-02T04:04:05.000Z", "2020-07-02T04:04:05.000Z"},
                         Row{berlin_zone, "2020-07-02T04:04:05.678Z", "2020-07-02T05:04:05.000Z"}}) {
    const ScopedZone zone(row.zone);
    _FS_FILE_V2 kept = marked_record("n");
    const int status = drive->SetFileTime(path.c_str(), "not used", winter, row.given, &kept, &drive.message);
    expect_status("SetFileTime", Drive::offered("SetFileTime", status), FS_OK);
    expect(as_text(kept) == as_text(marked_record("n")), "SetFileTime changed the record, which it does not use");
    const _FS_FILE_V2 file = drive.info(path);
    expect_equal(fmt::format("The modification time in the zone {}", row.zone), file.mtime, row.told);
    expect_equal(fmt::format("The access time in the zone {}", row.zone), file.atime, winter);
  }
  expect_status("SetFileTime of a missing entry",
                drive->SetFileTime((drive / "none").c_str(), winter, winter, winter, nullptr, &drive.message),
                FS_ERR_NOT_FOUND);
}
