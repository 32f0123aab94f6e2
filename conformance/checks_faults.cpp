// What goes wrong outside: full disks, no descriptors, entries and content that change, signals, odd names and
// ranges.
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <unistd.h>

#if defined(__linux__)
#include <sched.h>
#include <sys/mount.h>
#endif

#include <fmt/ranges.h>

#include <climits>
#include <filesystem>
#include <functional>
#include <limits>
#include <optional>

#include "conformance/fake_host.h"
#include "testing/small_stack.h"

namespace fs = std::filesystem;

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
    harness::skip("mounting a small disk is not permitted here");
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
  Drive drive;
  const std::string path = drive.folder / "shelf";

  Shelf() {
    fs::create_directory(path);
    for (int i = 0; i < 100; ++i) drive.folder.write("shelf/" + std::to_string(i), "abc");
  }

  // `change` happens when the first entry has been told, which is thus the only whole one.
  void list_while(const std::function<void()>& change) {
    Entries entries;
    entries.then = [&](_FS_FILE_V2&) {
      if (entries.calls == 1) change();
    };
    EXPECT_EQ(drive->GetFileList(path.c_str(), &entries, &drive.message), 0);
    int whole = 0;
    for (const auto& [name, file] : entries.by_name) {
      EXPECT(file.path == path + "/" + name && file.parents.size() == 1);
      if (file.size == 3)
        ++whole;
      else
        EXPECT(file.type == 1 && file.size == 0 && file.mtime.empty() && file.atime.empty() && file.ctime.empty());
    }
    EXPECT_EQ(whole, 1);
  }
};

}  // namespace

BOUNDARY_CHECK(small_disk, "faults.space", "A disk that is full from the first, a middle or the last byte fails") {
  Drive drive;
  const SmallDisk disk(drive.folder.path());
  struct Row {
    long long filled, size;
    int status;
  };
  for (const Row& row : {Row{0, disk.size, 0}, Row{0, disk.size + 1, 1}, Row{0, 3 * disk.size, 1},
                         Row{disk.size, 0, 0}, Row{disk.size, 1, 1}, Row{kChunk, kChunk + 1, 1}}) {
    const std::string filler = drive.folder.write("filler", pattern(row.filled));
    const std::string file = drive.folder / "f";
    Source source;
    Transfer transfer;
    source.content = pattern(row.size);
    EXPECT_EQ(drive.upload("f", source, transfer), row.status);
    EXPECT(row.status == 0 ? file_content(file) == source.content : !fs::exists(file));
    EXPECT_EQ(disk.free(), disk.size - row.filled - (row.status == 0 ? row.size : 0));
    fs::remove(file);
    fs::remove(filler);
  }
  int status = 0;  // and of entries
  for (int made = 0; status == 0 && made < 20; ++made) {
    _FS_FILE_V2 file = marked_record(std::to_string(made));
    status = drive->CreateDirectory(drive.folder.path().c_str(), &file, &drive.message);
  }
  EXPECT(status == 24 && errno == ENOTDIR);
  Source source;
  Transfer transfer;
  EXPECT_EQ(drive.upload("f", source, transfer), 19);
  EXPECT(!fs::exists(drive.folder / "f"));
}

BOUNDARY_CHECK(descriptors, "faults.descriptors",
               "Without a descriptor nothing opens, with a single one everything does") {
  Drive drive;
  const std::string root = drive.folder.path();
  const std::string file = drive.folder.write("f", "abc");
  rlimit usual{};
  EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
  for (const int available : {100, 0, 1}) {
    const int lowest = ::dup(0);
    ::close(lowest);
    const rlimit few{static_cast<rlim_t>(lowest + available), usual.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    Entries entries;
    Receiver receiver;
    Source source;
    Transfer transfer;
    _FS_FILE_V2 record = marked_record("made");
    const int cannot = available == 0 ? 19 : 0;
    EXPECT_EQ(drive->GetFileList(root.c_str(), &entries, &drive.message), cannot);
    EXPECT_EQ(entries.calls == 0, available == 0);
    EXPECT_EQ(drive.read(file, 0, 3, receiver, transfer), cannot);
    EXPECT_EQ(drive.upload("new", source, transfer), cannot);
    EXPECT_EQ(drive.info(file).size, 3);
    EXPECT_EQ(drive->CreateDirectory(root.c_str(), &record, &drive.message), 0);
    EXPECT_EQ(drive->DeleteDirectory(&record, &drive.message), 0);
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &usual), 0);
    EXPECT_EQ(fs::remove(drive.folder / "new"), available > 0);
  }
}

BOUNDARY_CHECK(vanishing, "faults.vanishing",
               "Entries that vanish during a listing keep their names and nothing else, if they are told at all") {
  Shelf shelf;
  shelf.list_while([&] {
    for (const auto& entry : fs::directory_iterator(shelf.path)) fs::remove(entry.path());
  });
}

BOUNDARY_CHECK(closing, "faults.closing",
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

BOUNDARY_CHECK(changing, "faults.changing",
               "Content that shrinks or grows under a Read is delivered as it then stands") {
  Drive drive;
  struct Row {
    long long size, then, length, delivered;
    int status;
  };
  for (const Row& row :
       {Row{3 * kChunk, kChunk + 5, 3 * kChunk, kChunk + 5, 10}, Row{3 * kChunk, 0, 3 * kChunk, kChunk, 10},
        Row{kChunk, 2 * kChunk, 2 * kChunk, 2 * kChunk, 0}}) {
    const std::string file = drive.folder.write("f", pattern(row.size));
    Receiver receiver;
    Transfer transfer;
    receiver.then = [&] { fs::resize_file(file, static_cast<std::uintmax_t>(row.then)); };
    EXPECT_EQ(drive.read(file, 0, row.length, receiver, transfer), row.status);
    EXPECT_EQ(static_cast<long long>(receiver.content.size()), row.delivered);
  }
}

BOUNDARY_CHECK(read_error, "faults.read", "A Read that meets an error delivers the chunks before it and fails") {
  const char* const own_memory = "/proc/self/mem";  // whose pages can be taken away
  if (::access(own_memory, R_OK) != 0) harness::skip("nothing here can be half readable without /proc");
  void* const memory = ::mmap(nullptr, 2 * kChunk, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  EXPECT(memory != MAP_FAILED && ::munmap(static_cast<char*>(memory) + kChunk, kChunk) == 0);
  Drive drive;
  Receiver receiver;
  Transfer transfer;
  const auto start = static_cast<long long>(reinterpret_cast<std::uintptr_t>(memory));
  EXPECT_EQ(drive.read(own_memory, start, kChunk + 1, receiver, transfer), 10);
  EXPECT_EQ(receiver.chunks.size(), 1U);
}

BOUNDARY_CHECK(interrupted, "faults.signals", "Signals that interrupt system calls change no result") {
  Drive drive;
  struct sigaction action {};
  static volatile sig_atomic_t signals = 0;
  action.sa_handler = [](int) { signals = signals + 1; };
  EXPECT_EQ(::sigaction(SIGALRM, &action, nullptr), 0);
  const itimerval often{{0, 200}, {0, 200}}, never{};
  EXPECT_EQ(::setitimer(ITIMER_REAL, &often, nullptr), 0);
  for (int round = 0; round < 1000 && signals < 500; ++round) {
    Source source;
    Receiver receiver;
    Transfer transfer;
    Entries entries;
    source.content = pattern(4 * kChunk + 1);
    const auto size = static_cast<long long>(source.content.size());
    EXPECT_EQ(drive.upload("f", source, transfer), 0);
    EXPECT_EQ(drive.read(drive.folder / "f", 0, size, receiver, transfer), 0);
    EXPECT(receiver.content == source.content);
    EXPECT_EQ(drive->GetFileList(drive.folder.path().c_str(), &entries, &drive.message), 0);
    EXPECT_EQ(entries.calls, 1);
  }
  EXPECT_EQ(::setitimer(ITIMER_REAL, &never, nullptr), 0);
}

BOUNDARY_CHECK(byte_names, "faults.names", "A name may hold any byte but the divider and the terminator") {
  Drive drive;
  const std::string root = drive.folder.path();
  std::size_t made = 0;
  for (int value = 1; value < 256; ++value) {
    if (value == '/') continue;
    const std::string name{static_cast<char>(value), 'n'};
    Source source;
    Transfer transfer;
    source.content = name;
    EXPECT_EQ(drive.upload(name, source, transfer), 0);
    EXPECT_EQ(drive.info(root + "/" + name).name, name);
    _FS_FILE_V2 record = marked_record("x" + name);
    EXPECT_EQ(drive->Move((root + "/" + name).c_str(), root.c_str(), &record, &drive.message), 0);
    EXPECT_EQ(record.path, root + "/x" + name);
    ++made;
  }
  Entries entries;
  EXPECT_EQ(drive->GetFileList(root.c_str(), &entries, &drive.message), 0);
  EXPECT_EQ(entries.by_name.size(), made);
  for (auto& [name, file] : entries.by_name) {
    EXPECT_EQ(file_content(root + "/" + name), name.substr(1));
    EXPECT_EQ(drive->Delete(&file, &drive.message), 0);
  }
  EXPECT(fs::is_empty(root));
}

BOUNDARY_CHECK(long_paths, "faults.paths", "Paths up to the system's limit work, longer ones are refused") {
  Drive drive;
  std::string longest = drive.folder.path();
  while (longest.size() < PATH_MAX - 1) {
    const std::size_t left = PATH_MAX - 1 - longest.size() - 1;
    longest += "/" + std::string(left > 255 ? 200 : left, 'd');
    EXPECT_EQ(::mkdir(longest.c_str(), 0700), 0);
  }
  {
    const int directory = ::open(longest.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int child = ::openat(directory, "child", O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    EXPECT(directory >= 0 && child >= 0);
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
    return std::vector<int>{drive->GetFileInfo(path.c_str(), &other, &drive.message),
                            drive->GetFileList(path.c_str(), &entries, &drive.message),
                            drive.read(path, 0, 0, receiver, transfer),
                            drive->Upload(path.c_str(), transfer.handle, &source, &record, kNoFlag, &drive.message),
                            drive->CreateDirectory(path.c_str(), &record, &drive.message)};
  };
  EXPECT_EQ(fmt::format("{}", fmt::join(statuses(longest), " ")), "0 0 0 19 24");
  for (const std::size_t beyond : {1UL, 2UL, 1000UL, 1UL << 20}) {
    const std::string path = longest + "/" + std::string(beyond, 'x');
    EXPECT_EQ(fmt::format("{}", fmt::join(statuses(path), " ")), "19 19 19 19 19");
  }
  std::string wordy = drive.folder.path();  // long in words, short in meaning
  for (int i = 0; i < 100000; ++i) wordy += "/./x/..";
  EXPECT_EQ(drive.info(wordy).type, 2);
  for (const auto& [length, status] : {std::pair{255, 0}, {256, 24}}) {
    _FS_FILE_V2 record = marked_record(std::string(static_cast<std::size_t>(length), 'n'));
    EXPECT_EQ(drive->CreateDirectory(drive.folder.path().c_str(), &record, &drive.message), status);
  }
}

BOUNDARY_CHECK(extreme_ranges, "faults.ranges", "Ranges at every power of two that counts deliver what there is") {
  Drive drive;
  constexpr long long giga2 = 1LL << 31, giga4 = 1LL << 32, most = std::numeric_limits<long long>::max();
  constexpr long long size = giga4 + 3;
  const std::string file = drive.folder.write("f", "");
  fs::resize_file(file, size);  // takes no room: it is one hole
  for (const long long offset : {0LL, 1LL, giga2, giga4, size - 1, size, size + 1, most}) {
    for (const long long length : {0LL, 1LL, 2LL, size, giga2, giga4, most}) {
      Receiver receiver;
      Transfer transfer;
      const long long there = std::max(0LL, size - offset);
      const bool whole = length <= there;
      if (std::min(there, length) > kChunk) transfer.then = [&] { transfer.stop(); };
      const int status = drive.read(file, offset, length, receiver, transfer);
      const long long got = static_cast<long long>(receiver.content.size());
      const std::string range = fmt::format("{}+{}: {} and {} bytes", offset, length, status, got);
      if (std::min(there, length) > kChunk ? status != 13 || got != kChunk
                                           : got != std::min(there, length) || (status == 0) != whole)
        if (offset != most || status != 24 || got != 0)  // a file system may refuse the position itself
          harness::fail(__FILE__, __LINE__, range);
    }
  }
  Source source;
  Transfer transfer;
  source.answer = [&](_FS_CACHE_REQUEST& request) {
    EXPECT_EQ(request.total_size, most);
    return request.offset > 0 ? 1 : 0;
  };
  source.content = "abc";
  EXPECT_EQ(drive.upload("g", source, transfer, most), 1);
  EXPECT(source.offsets == (std::vector<long long>{0, 3}));
}

BOUNDARY_CHECK(small_stack, "faults.stack",
               "Every operation fits in a thread of little stack, whatever the host passes") {
  Drive drive;
  const std::string folder = drive.folder.path();
  constexpr std::size_t longest = kStackIsChecked ? 1'000'000 : 10'000'000;  // the checkers take their time
  run_in_small_stack([&] {
    Source source;
    Receiver receiver;
    Transfer transfer;
    Entries entries;
    source.content = pattern(2 * kChunk);
    EXPECT_EQ(drive.upload("f", source, transfer), 0);
    EXPECT_EQ(drive.read(folder + "/f", 0, 2 * kChunk, receiver, transfer), 0);
    EXPECT_EQ(drive->GetFileList(folder.c_str(), &entries, &drive.message), 0);
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
            drive->Upload(folder.c_str(), transfer.handle, &source, &record, kNoFlag, &drive.message),
            drive->SetFileTime(path.c_str(), path, path, path, &record, &drive.message)}) {
        EXPECT(status == 19 || status == 24);
      }
      EXPECT(as_text(record) == before);
      EXPECT_EQ(drive->SetOpt("root_path", path.c_str()), 0);
      int length = 0;
      EXPECT_EQ(drive->GetRootID(nullptr, &length), 5);
      EXPECT_EQ(length, static_cast<int>(path.size()));
    }
  });
}
