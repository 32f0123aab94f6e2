// What goes wrong outside: full disks, no descriptors, entries and content that change, signals, extreme paths,
// ranges.
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>

#if defined(__linux__)
#include <sched.h>
#include <sys/mount.h>
#endif

#include <climits>
#include <limits>
#include <optional>

#include "conformance/disk_host.h"
#include "testing/fault_injection.h"
#include "testing/small_stack.h"

namespace {

// A file system of one mebibyte and a handful of entries at `path`, in this process's own view, while it lives.
class SmallDisk {
 public:
  static constexpr long long size = 1LL << 20;

  explicit SmallDisk(const std::string& path) : path_(path) {
#if defined(__linux__)
    if (::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        ::mount("localdisk-check", path.c_str(), "tmpfs", 0, "size=1m,nr_inodes=8") == 0)
      return;
#endif
    harness::skip("Mounting a small disk is not permitted here");
  }
  ~SmallDisk() {
#if defined(__linux__)
    ::umount2(path_.c_str(), MNT_DETACH);
#endif
  }
  // Asked of the system, since one C++ library takes "nothing free" for a failure.
  [[nodiscard]] long long free() const {
    struct statvfs disk {};
    return ::statvfs(path_.c_str(), &disk) == 0 ? static_cast<long long>(disk.f_bfree * disk.f_frsize) : -1;
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

 private:
  std::string path_;
};

// A folder of a hundred files that changes under its listing.
struct Shelf {
  DiskDrive drive;
  const std::string path = drive / "shelf";

  Shelf() {
    fs::create_directory(path);
    for (int i = 0; i < 100; ++i) drive.write("shelf/" + std::to_string(i), "abc");
  }

  // `change` happens when the first entry has been told, which is thus the only whole one.
  void list_while(const std::function<void()>& change) {
    Entries entries;
    entries.then = [&](_FS_FILE_V2&) {
      if (entries.calls == 1) change();
    };
    expect_status("GetFileList of a folder that changes", drive->GetFileList(path.c_str(), &entries, &drive.message),
                  FS_OK);
    int whole = 0;
    for (const auto& [name, file] : entries.by_name) {
      expect(file.path == path + "/" + name && file.parents.size() == 1, "A listed entry has another path or parent");
      if (file.size == 3) {
        ++whole;
      } else {
        expect(file.type == 1 && file.size == 0 && file.mtime.empty() && file.atime.empty() && file.ctime.empty(),
               "An entry that can't be examined is told with more than its name");
      }
    }
    expect_equal("The number of entries told whole", whole, 1);
  }
};

}  // namespace

CONFORMANCE_CHECK(disk, "faults.space", "A disk that is full from the first, a middle or the last byte fails") {
  DiskDrive drive;
  const SmallDisk disk(drive.folder);
  struct Row {
    long long filled, size;
    int status;
  };
  for (const Row& row : {Row{0, disk.size, 0}, Row{0, disk.size + 1, 1}, Row{0, 3 * disk.size, 1},
                         Row{disk.size, 0, 0}, Row{disk.size, 1, 1}, Row{chunk_size, chunk_size + 1, 1}}) {
    const std::string filler = drive.write("filler", pattern(row.filled));
    const std::string file = drive / "f";
    Source source(pattern(row.size));
    Transfer transfer;
    const std::string call = fmt::format("Upload of {} bytes where {} are free", row.size, disk.size - row.filled);
    expect_status(call, drive.upload("f", source, transfer), row.status);
    expect(row.status == FS_OK ? file_content(file) == source.content : !fs::exists(file),
           fmt::format("{} left another file than its status says", call));
    expect_equal(fmt::format("What is free after {}", call), disk.free(),
                 disk.size - row.filled - (row.status == FS_OK ? row.size : 0));
    fs::remove(file);
    fs::remove(filler);
  }
  int status = 0;  // and of entries
  for (int made = 0; status == 0 && made < 20; ++made) {
    _FS_FILE_V2 file = marked_record(std::to_string(made));
    status = drive->CreateDirectory(drive.folder.c_str(), &file, &drive.message);
  }
  expect_equal("The errno of CreateDirectory on a disk without room for entries", errno, ENOTDIR);
  expect_status("CreateDirectory on a disk without room for entries", status, FS_ERR_OPERATION_FAILED);
  Source source;
  Transfer transfer;
  expect_status("Upload on a disk without room for entries", drive.upload("f", source, transfer), FS_ERR_NOT_FOUND);
  expect(!fs::exists(drive / "f"), "Upload on a disk without room for entries left a file");
}

CONFORMANCE_CHECK(disk, "faults.descriptors",
                  "Without a descriptor nothing opens, with a single one everything does") {
  DiskDrive drive;
  const std::string root = drive.folder;
  const std::string file = drive.write("f", "abc");
  rlimit usual{};
  need(::getrlimit(RLIMIT_NOFILE, &usual) == 0, "learn its number of descriptors");
  for (const int available : {100, 0, 1}) {
    const int lowest = ::dup(0);
    ::close(lowest);
    const rlimit few{static_cast<rlim_t>(lowest + available), usual.rlim_max};
    need(::setrlimit(RLIMIT_NOFILE, &few) == 0, "limit its number of descriptors");
    Entries entries;
    Receiver receiver;
    Source source;
    Transfer transfer;
    _FS_FILE_V2 record = marked_record("made");
    const int opens = available == 0 ? FS_ERR_NOT_FOUND : FS_OK;
    const auto with = [&](const char* call) {
      return fmt::format("{} with {} descriptors to be had", call, available);
    };
    expect_status(with("GetFileList"), drive->GetFileList(root.c_str(), &entries, &drive.message), opens);
    expect((entries.calls == 0) == (available == 0), with("Another number of entries was told by GetFileList"));
    expect_status(with("Read"), drive.read(file, 0, 3, receiver, transfer), opens);
    expect_status(with("Upload"), drive.upload("new", source, transfer), opens);
    expect_equal("The size of a file", drive.info(file).size, 3);
    expect_status(with("CreateDirectory"), drive->CreateDirectory(root.c_str(), &record, &drive.message), FS_OK);
    expect_status(with("DeleteDirectory"), drive->DeleteDirectory(&record, &drive.message), FS_OK);
    need(::setrlimit(RLIMIT_NOFILE, &usual) == 0, "have its descriptors back");
    expect(fs::remove(drive / "new") == (available > 0),
           with("Another file than its status says is there of Upload"));
  }
}

CONFORMANCE_CHECK(disk, "faults.vanishing",
                  "Entries that vanish during a listing keep their names and nothing else, if they are told at all") {
  Shelf shelf;
  shelf.list_while([&] {
    for (const auto& entry : fs::directory_iterator(shelf.path)) fs::remove(entry.path());
  });
}

CONFORMANCE_CHECK(disk, "faults.closing",
                  "Entries of a folder that closes itself during its listing keep their names and nothing else") {
  Shelf shelf;
  { const Unprivileged can_be_had; }  // within the listing it would be too late to skip
  std::optional<Unprivileged> unprivileged;
  shelf.list_while([&] {
    fs::permissions(shelf.path, fs::perms::none);
    unprivileged.emplace();
  });
  unprivileged.reset();
  fs::permissions(shelf.path, fs::perms::owner_all);
}

CONFORMANCE_CHECK(disk, "faults.changing",
                  "Content that shrinks or grows under a Read is delivered as it then stands") {
  DiskDrive drive;
  struct Row {
    long long size, then, length, delivered;
    int status;
  };
  for (const Row& row : {Row{3 * chunk_size, chunk_size + 5, 3 * chunk_size, chunk_size + 5, 10},
                         Row{3 * chunk_size, 0, 3 * chunk_size, chunk_size, 10},
                         Row{chunk_size, 2 * chunk_size, 2 * chunk_size, 2 * chunk_size, 0}}) {
    const std::string file = drive.write("f", pattern(row.size));
    Receiver receiver;
    Transfer transfer;
    receiver.then = [&] { fs::resize_file(file, static_cast<std::uintmax_t>(row.then)); };
    expect_status(fmt::format("Read of {} bytes that become {}", row.size, row.then),
                  drive.read(file, 0, row.length, receiver, transfer), row.status);
    expect_equal("The number of bytes that Read delivered of a changing file", receiver.content.size(),
                 static_cast<std::size_t>(row.delivered));
  }
}

CONFORMANCE_CHECK(disk, "faults.read", "A Read that meets an error delivers the chunks before it and fails") {
  const char* const own_memory = "/proc/self/mem";  // whose pages can be taken away
  if (::access(own_memory, R_OK) != 0) harness::skip("Nothing here can be half readable without /proc");
  void* const memory = ::mmap(nullptr, 2 * chunk_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  need(memory != MAP_FAILED && ::munmap(static_cast<char*>(memory) + chunk_size, chunk_size) == 0, "make a hole");
  DiskDrive drive;
  Receiver receiver;
  Transfer transfer;
  const auto start = static_cast<long long>(reinterpret_cast<std::uintptr_t>(memory));
  expect_status("Read that meets an error", drive.read(own_memory, start, chunk_size + 1, receiver, transfer),
                FS_ERR_READ);
  expect_equal("The number of chunks before an error", receiver.chunks.size(), 1U);
}

CONFORMANCE_CHECK(disk, "faults.signals", "Signals that interrupt system calls change no result") {
  DiskDrive drive;
  struct sigaction action {};
  static volatile sig_atomic_t signals = 0;
  action.sa_handler = [](int) { signals = signals + 1; };
  need(::sigaction(SIGALRM, &action, nullptr) == 0, "receive signals");
  const itimerval often{{0, 200}, {0, 200}}, never{};
  need(::setitimer(ITIMER_REAL, &often, nullptr) == 0, "set a timer");
  for (int round = 0; round < 1000 && signals < 500; ++round) {
    Source source;
    Receiver receiver;
    Transfer transfer;
    Entries entries;
    source.content = pattern(4 * chunk_size + 1);
    const auto size = static_cast<long long>(source.content.size());
    expect_status("Upload under signals", drive.upload("f", source, transfer), FS_OK);
    expect_status("Read under signals", drive.read(drive / "f", 0, size, receiver, transfer), FS_OK);
    expect(receiver.content == source.content, "Read under signals delivered other bytes");
    expect_status("GetFileList under signals", drive->GetFileList(drive.folder.c_str(), &entries, &drive.message),
                  FS_OK);
    expect_equal("The number of entries told under signals", entries.calls, 1);
  }
  need(::setitimer(ITIMER_REAL, &never, nullptr) == 0, "stop its timer");
}

CONFORMANCE_CHECK(disk, "faults.paths", "Paths up to the system's limit work, longer ones are refused") {
  DiskDrive drive;
  std::string longest = drive.folder;
  while (longest.size() < PATH_MAX - 1) {
    const std::size_t left = PATH_MAX - 1 - longest.size() - 1;
    longest += "/" + std::string(left > 255 ? 200 : left, 'd');
    need(::mkdir(longest.c_str(), 0700) == 0, "make a folder of the longest path");
  }
  {
    const int directory = ::open(longest.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int child = ::openat(directory, "child", O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    need(directory >= 0 && child >= 0, "make a file beyond the longest path");
    ::close(child);
    ::close(directory);
  }
  const auto statuses = [&](const std::string& path) {
    Entries entries;
    Receiver receiver;
    Source source;
    Transfer transfer;
    _FS_FILE_V2 record = marked_record("made");
    _FS_FILE_V2 other = marked_record("new");
    return std::vector<long long>{
        drive->GetFileInfo(path.c_str(), &other, &drive.message),
        drive->GetFileList(path.c_str(), &entries, &drive.message), drive.read(path, 0, 0, receiver, transfer),
        drive->Upload(path.c_str(), transfer.handle, &source, &record, no_flag, &drive.message),
        drive->CreateDirectory(path.c_str(), &record, &drive.message)};
  };
  using Statuses = std::vector<long long>;
  const char* const answers = "What GetFileInfo, GetFileList, Read, Upload and CreateDirectory answered at the ";
  expect_equal(fmt::format("{}longest path", answers), statuses(longest), Statuses{0, 0, 0, 19, 24});
  for (const std::size_t beyond : {1UL, 2UL, 1000UL, 1UL << 20}) {
    const std::string path = longest + "/" + std::string(beyond, 'x');
    expect_equal(fmt::format("{}longest path and {} bytes", answers, beyond), statuses(path), Statuses(5, 19));
  }
  std::string wordy = drive.folder;  // long in words, short in meaning
  for (int i = 0; i < 100000; ++i) wordy += "/./x/..";
  expect_equal("The type at a path that is long in words and short in meaning", drive.info(wordy).type, 2);
  for (const auto& [length, status] : {std::pair{255, 0}, {256, 24}}) {
    _FS_FILE_V2 record = marked_record(std::string(static_cast<std::size_t>(length), 'n'));
    expect_status(fmt::format("CreateDirectory of a name of {} bytes", length),
                  drive->CreateDirectory(drive.folder.c_str(), &record, &drive.message), status);
  }
}

CONFORMANCE_CHECK(disk, "faults.ranges", "Ranges at every power of two that counts deliver what there is") {
  DiskDrive drive;
  constexpr long long giga2 = 1LL << 31, giga4 = 1LL << 32, most = std::numeric_limits<long long>::max();
  constexpr long long size = giga4 + 3;
  const std::string file = drive.write("f", "");
  fs::resize_file(file, size);  // takes no room: it is one hole
  for (const long long offset : {0LL, 1LL, giga2, giga4, size - 1, size, size + 1, most}) {
    for (const long long length : {0LL, 1LL, 2LL, size, giga2, giga4, most}) {
      Receiver receiver;
      Transfer transfer;
      const long long there = std::max(0LL, size - offset);
      const bool whole = length <= there;
      if (std::min(there, length) > chunk_size) transfer.then = [&] { transfer.stop(); };
      const int status = drive.read(file, offset, length, receiver, transfer);
      const long long got = static_cast<long long>(receiver.content.size());
      if (std::min(there, length) > chunk_size ? status != 13 || got != chunk_size
                                               : got != std::min(there, length) || (status == 0) != whole)
        if (offset != most || status != 24 || got != 0)  // a file system may refuse the position itself
          harness::fail(fmt::format("Read of {} bytes at {} answered {} and delivered {}", length, offset,
                                    status_text(status), got));
    }
  }
  Source source;
  Transfer transfer;
  source.answer = [&](_FS_CACHE_REQUEST& request) {
    expect_equal("The total size of a block's request", request.total_size, most);
    return request.offset > 0 ? 1 : 0;
  };
  source.content = "abc";
  expect_status("Upload of the largest size", drive.upload("g", source, transfer, most), FS_ERR_FAILED);
  expect_equal("The offsets that an Upload of the largest size asked for", source.offsets,
               std::vector<long long>{0, 3});
}

CONFORMANCE_CHECK(disk, "faults.stack",
                  "Every operation fits in a thread of little stack, whatever the host passes") {
  DiskDrive drive;
  const std::string& folder = drive.folder;
  constexpr std::size_t longest = stack_is_checked ? 1'000'000 : 10'000'000;  // the checkers take their time
  run_in_small_stack([&] {
    Source source(pattern(2 * chunk_size));
    Receiver receiver;
    Transfer transfer;
    Entries entries;
    expect_status("Upload", drive.upload("f", source, transfer), FS_OK);
    expect_status("Read", drive.read(folder + "/f", 0, 2 * chunk_size, receiver, transfer), FS_OK);
    expect_status("GetFileList", drive->GetFileList(folder.c_str(), &entries, &drive.message), FS_OK);
    for (const std::string_view part : {"/", "/..", "/.", "/x", "x", "\xFF"}) {
      std::string path = "/";
      while (path.size() < longest) path += part;
      _FS_FILE_V2 record = marked_record(path);
      record.path = path;
      const std::string before = as_text(record);
      for (const int status :
           {drive->Delete(&record, &drive.message),
            drive->Move(path.c_str(), folder.c_str(), &record, &drive.message),
            drive->CreateDirectory(folder.c_str(), &record, &drive.message),
            drive->Upload(folder.c_str(), transfer.handle, &source, &record, no_flag, &drive.message),
            drive->SetFileTime(path.c_str(), path, path, path, &record, &drive.message)}) {
        expect_status(fmt::format("An operation on a path of ten million bytes of '{}'", part), status,
                      {FS_ERR_NOT_FOUND, FS_ERR_OPERATION_FAILED});
      }
      expect(as_text(record) == before, "An operation on an endless path changed the record although it failed");
      expect_status("SetOpt of an endless root_path", drive->SetOpt("root_path", path.c_str()), FS_OK);
      int length = 0;
      expect_status("GetRootID of an endless root_path", drive->GetRootID(nullptr, &length), FS_ERR_BUFFER_TOO_SMALL);
      expect_equal("The length of an endless root_path", length, static_cast<int>(path.size()));
    }
  });
}

CONFORMANCE_CHECK(disk, "faults.close", "An upload whose file can't be closed has failed and leaves no file") {
  if (!fault_injection::can_be_made())
    harness::skip("This program was built with a sanitizer, which has taken the C library's functions already");
  DiskDrive drive;
  Source source(pattern(chunk_size + 1));
  Transfer transfer;
  int status = 0;
  {
    const fault_injection::FailClose failing;
    status = drive.upload("f", source, transfer);
  }
  if (!fault_injection::FailClose::triggered()) harness::skip("The module doesn't close its files in a known way");
  expect_status("Upload whose file can't be closed", status, FS_ERR_FAILED);
  expect(!fs::exists(drive / "f"), "Upload whose file can't be closed left it");
}
