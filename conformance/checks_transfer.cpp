// Reading and writing content.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>

#include "conformance/fake_host.h"

namespace fs = std::filesystem;

BOUNDARY_CHECK(reading, "read.ranges", "Read delivers a range in file order, in chunks of 512 KiB") {
  Drive drive;
  const std::string content = pattern(2 * kChunk + 1000);
  const std::string file = drive.folder.write("f", content);
  const long long size = static_cast<long long>(content.size());
  struct Row {
    long long offset, length;
    std::vector<Chunk> chunks;
    int status;
  };
  const unsigned long long chunk = kChunk;
  for (const Row& row : {Row{0, 1, {{0, 1}}, 0}, Row{7, kChunk, {{7, chunk}}, 0},
                         Row{3, 2 * kChunk + 1, {{3, chunk}, {3 + kChunk, chunk}, {3 + 2 * kChunk, 1}}, 0},
                         Row{size - 1, 1, {{size - 1, 1}}, 0}, Row{size, 1, {}, 10}, Row{size + 1, 1, {}, 10},
                         Row{size - 10, 11, {{size - 10, 10}}, 10}, Row{1LL << 32, 5, {}, 10}, Row{-1, 1, {}, 24},
                         Row{0, 0, {}, 0}, Row{size + 5, 0, {}, 0}, Row{-1, 0, {}, 24}, Row{0, -1, {}, 6}}) {
    Receiver receiver;
    Transfer transfer;
    EXPECT_EQ(drive.read(file, row.offset, row.length, receiver, transfer), row.status);
    EXPECT_EQ(receiver.chunks, row.chunks);
    std::vector<Report> reports;
    long long done = 0;
    for (const Chunk& delivered : row.chunks) {
      done += static_cast<long long>(delivered.length);
      reports.push_back({row.length, done});
    }
    EXPECT_EQ(transfer.reports, reports);
    if (!row.chunks.empty()) {
      EXPECT(receiver.content ==
             content.substr(static_cast<std::size_t>(row.offset), static_cast<std::size_t>(done)));
    }
  }
}

BOUNDARY_CHECK(reading_failures, "read.failures", "Each way in which reading fails has its status") {
  Drive drive;
  const std::string fifo = drive.folder / "fifo";
  EXPECT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  Receiver receiver;
  Transfer transfer;
  transfer.handle->state = 3;
  EXPECT_EQ(drive.read(drive.folder / "none", 0, 1, receiver, transfer), 19);
  EXPECT_EQ(drive.read(drive.folder.path(), 0, 0, receiver, transfer), 0);
  {
    const int other_end = ::open(fifo.c_str(), O_RDWR | O_CLOEXEC);  // so that opening does not wait
    EXPECT_EQ(drive.read(fifo, 0, 1, receiver, transfer), 24);
    ::close(other_end);
  }
  transfer.handle->state = 2;
  EXPECT_EQ(drive.read(drive.folder.path(), 0, 1, receiver, transfer), 10);
  EXPECT(receiver.chunks.empty() && transfer.reports.empty());
  const std::string file = drive.folder.write("f", "abc");
  EXPECT_EQ(drive->Read(file.c_str(), 0, 1, nullptr, &receiver, &drive.message), 6);
  EXPECT_EQ(drive->Read(file.c_str(), 0, 0, nullptr, nullptr, &drive.message), 0);
  receiver.then = [] { throw HostError{}; };
  EXPECT_EQ(drive.read(file, 0, 3, receiver, transfer), 1);
  receiver.then = [] {};
  transfer.then = [] { throw HostError{}; };
  EXPECT_EQ(drive.read(file, 0, 3, receiver, transfer), 1);
}

BOUNDARY_CHECK(reading_stopped, "read.cancel",
               "A stop is seen before the first chunk and after each that is not the last") {
  Drive drive;
  const std::string file = drive.folder.write("f", pattern(3 * kChunk));
  for (const auto& [stop_after, status] : {std::pair{0U, 13}, {1U, 13}, {2U, 13}, {3U, 0}}) {
    for (const bool from_progress : {false, true}) {
      Receiver receiver;
      Transfer transfer;
      const auto stop = [&, limit = stop_after] {
        if (receiver.chunks.size() == limit) transfer.stop();
      };
      stop();
      (from_progress ? transfer.then : receiver.then) = stop;
      EXPECT_EQ(drive.read(file, 0, 3 * kChunk, receiver, transfer), status);
      EXPECT_EQ(receiver.chunks.size(), static_cast<std::size_t>(stop_after));
    }
  }
  Receiver receiver;
  Transfer transfer;  // the function is asked for afresh before each report, the context was read at the start
  receiver.then = [&] { transfer.handle->progress = nullptr; };
  EXPECT_EQ(drive.read(file, 0, kChunk, receiver, transfer), 0);
  EXPECT(transfer.reports.empty());
}

BOUNDARY_CHECK(uploading, "upload.content", "Upload replaces a file with what the source serves and describes it") {
  Drive drive;
  const std::string root = drive.folder.path();
  for (const long long size : {0LL, 1LL, 600000LL, kChunk, 2 * kChunk + 1}) {
    drive.folder.write("f", "an older and longer text");
    Source source;
    Transfer transfer;
    source.content = pattern(size);
    _FS_FILE_V2 file = marked_record("f");
    file.size = size;
    EXPECT_EQ(drive->Upload((root + "/").c_str(), transfer.handle, &source, &file, kSomeFlag, &drive.message), 0);
    EXPECT(file_content(root + "/f") == source.content);
    EXPECT(file.path == root + "/f" && file.name == "f" && file.type == 1 && file.size == size && file.mtime != "M");
    EXPECT(file.extra1 == "1" && file.extra2 == "2" && file.parents.size() == 2);
    EXPECT_EQ(source.offsets.size(), static_cast<std::size_t>((size + kChunk - 1) / kChunk));
    EXPECT_EQ(transfer.reports.size(), source.offsets.size());
    if (size > 0) EXPECT(transfer.reports.back() == (Report{size, size}));
  }
  Source own;  // blocks in the host's own memory, of any length; the offset is what was written
  Transfer transfer;
  std::string memory = pattern(kChunk + 77);
  own.answer = [&](_FS_CACHE_REQUEST& request) {
    EXPECT_EQ(request.total_size, 2 * kChunk);
    request.buffer = reinterpret_cast<unsigned char*>(memory.data());
    request.delivered = request.offset == 0 ? kChunk + 77 : 100000;
    return 0;
  };
  EXPECT_EQ(drive.upload("own", own, transfer, 2 * kChunk), 0);
  EXPECT(own.offsets == (std::vector<long long>{0, kChunk + 77, kChunk + 100077, kChunk + 200077, kChunk + 300077,
                                                kChunk + 400077, kChunk + 500077}));
  EXPECT_EQ(file_content(root + "/own").size(), static_cast<std::size_t>(kChunk + 600077));
  EXPECT_EQ(drive.upload("negative", own, transfer, -5), 0);
}

BOUNDARY_CHECK(upload_refused, "upload.refused", "An upload that can't begin leaves the disk as it was") {
  Drive drive;
  Source source;
  Transfer transfer;
  source.content = "x";
  fs::create_directory(drive.folder / "dir");
  EXPECT_EQ(drive.upload("none/f", source, transfer), 19);
  EXPECT_EQ(drive.upload("dir", source, transfer), 19);
  _FS_FILE_V2 file = marked_record("f");
  file.size = 1;
  EXPECT_EQ(drive->Upload(drive.folder.path().c_str(), nullptr, &source, &file, kNoFlag, &drive.message), 6);
  EXPECT(!fs::exists(drive.folder / "f") && source.offsets.empty());
  EXPECT_EQ(::mkfifo((drive.folder / "fifo").c_str(), 0600), 0);
  EXPECT_EQ(drive.upload("fifo", source, transfer), 11);
  EXPECT(fs::exists(drive.folder / "fifo"));
}

BOUNDARY_CHECK(upload_failures, "upload.failures", "A transfer that fails is reported and leaves no file") {
  Drive drive;
  struct Row {
    const char* reason;
    std::function<int(_FS_CACHE_REQUEST&)> answer;
  };
  for (const Row& row :
       {Row{"the source fails", [](_FS_CACHE_REQUEST&) { return -1; }},
        Row{"the source throws", [](_FS_CACHE_REQUEST&) -> int { throw HostError{}; }},
        Row{"nothing is delivered", [](_FS_CACHE_REQUEST& request) { return request.delivered = 0, 0; }},
        Row{"less than nothing", [](_FS_CACHE_REQUEST& request) { return request.delivered = -1, 0; }},
        Row{"no buffer", [](_FS_CACHE_REQUEST& request) { return request.buffer = nullptr, 0; }},
        Row{"more than fits", [](_FS_CACHE_REQUEST& request) { return request.delivered = kChunk + 1, 0; }}}) {
    for (const long long good : {0LL, kChunk}) {  // in the first block and in a later one
      drive.folder.write("f", "older");
      Source source;
      Transfer transfer;
      source.content = pattern(2 * kChunk);
      source.answer = [&](_FS_CACHE_REQUEST& request) { return request.offset < good ? 0 : row.answer(request); };
      EXPECT_EQ(drive.upload("f", source, transfer), 1);
      if (fs::exists(drive.folder / "f")) harness::fail(__FILE__, __LINE__, row.reason);
    }
  }
  Source source;
  Transfer transfer;
  source.content = "x";
  transfer.then = [] { throw HostError{}; };
  EXPECT_EQ(drive.upload("f", source, transfer), 1);
  EXPECT(!fs::exists(drive.folder / "f"));
}

BOUNDARY_CHECK(full_disk, "upload.full", "A disk that fills up on any byte, the last one too, is never a success") {
  if (!fs::exists("/dev/full")) harness::skip("this system has no /dev/full");
  Drive drive;
  for (const long long size : {1LL, kChunk, kChunk + 1}) {
    fs::create_symlink("/dev/full", drive.folder / "full");
    Source source;
    Transfer transfer;
    source.content = pattern(size);
    errno = 0;
    EXPECT_EQ(drive.upload("full", source, transfer), 1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT(!fs::exists(fs::symlink_status(drive.folder / "full")));
  }
}

BOUNDARY_CHECK(largest_file, "upload.limit", "A file that grows beyond the process's limit is never a success") {
  Drive drive;
  ::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{kChunk + 100, RLIM_INFINITY};
  EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  for (const auto& [size, status] : {std::pair{kChunk + 100, 0}, {kChunk + 101, 1}, {3 * kChunk, 1}}) {
    Source source;
    Transfer transfer;
    source.content = pattern(size);
    EXPECT_EQ(drive.upload("f", source, transfer), status);
    EXPECT_EQ(fs::exists(drive.folder / "f"), status == 0);
    if (size == kChunk + 101) {  // the short write is asked for again, from the first byte left out
      EXPECT(source.offsets == (std::vector<long long>{0, kChunk, kChunk + 100}));
    }
  }
}

BOUNDARY_CHECK(uploading_stopped, "upload.cancel", "A stop is seen before each block and leaves what was written") {
  Drive drive;
  const std::string file = drive.folder / "f";
  for (const auto& [stop_after, status] : {std::pair{0U, 14}, {1U, 14}, {2U, 14}, {3U, 0}}) {
    for (const bool from_progress : {false, true}) {
      Source source;
      Transfer transfer;
      source.content = pattern(3 * kChunk);
      const auto stop = [&, limit = stop_after] {
        if (source.offsets.size() == limit) transfer.stop();
      };
      stop();
      if (from_progress)
        transfer.then = stop;
      else
        source.answer = [&](_FS_CACHE_REQUEST&) { return stop(), 0; };
      EXPECT_EQ(drive.upload("f", source, transfer), status);
      EXPECT(file_content(file) == source.content.substr(0, stop_after * static_cast<std::size_t>(kChunk)));
    }
  }
}

BOUNDARY_CHECK(close_on_exec, "transfer.exec",
               "A command that runs during a transfer or a listing inherits nothing") {
  Drive drive;
  drive.folder.write("f", "abc");
  const auto expect_closed = [] {
    for (int descriptor = 3; descriptor < 64; ++descriptor) {
      const int flags = ::fcntl(descriptor, F_GETFD);
      EXPECT(flags < 0 || (flags & FD_CLOEXEC) != 0);
    }
  };
  for (int descriptor = 3; descriptor < 64; ++descriptor)
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);  // the check's own
  Receiver receiver;
  Source source;
  Entries entries;
  Transfer transfer;
  receiver.then = expect_closed;
  entries.then = [&](_FS_FILE_V2&) { expect_closed(); };
  source.content = "abc";
  source.answer = [&](_FS_CACHE_REQUEST&) { return expect_closed(), 0; };
  EXPECT_EQ(drive.read(drive.folder / "f", 0, 3, receiver, transfer), 0);
  EXPECT_EQ(drive.upload("g", source, transfer), 0);
  EXPECT_EQ(drive->GetFileList(drive.folder.path().c_str(), &entries, &drive.message), 0);
}
