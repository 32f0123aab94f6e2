// What a module does that serves this machine's files: content of devices, pipes, links and limits.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>

#include "conformance/disk_host.h"

CONFORMANCE_CHECK(disk, "read.chunks", "Read delivers chunks of 512 KiB as long as the file holds them") {
  DiskDrive drive;
  const std::string file = drive.write("f", pattern(2 * chunk_size + 1000));
  Receiver receiver;
  Transfer transfer;
  expect_status("Read", drive.read(file, 3, 2 * chunk_size + 1, receiver, transfer), FS_OK);
  constexpr unsigned long long chunk = chunk_size;
  expect_equal("What Read delivered", receiver.chunks,
               std::vector<Chunk>{{3, chunk}, {3 + chunk_size, chunk}, {3 + 2 * chunk_size, 1}});
}

CONFORMANCE_CHECK(disk, "read.kinds",
                  "Read opens first, then takes its position, and only then looks at the handle") {
  DiskDrive drive;
  const std::string pipe = drive / "pipe";
  need(::mkfifo(pipe.c_str(), 0600) == 0, "make a pipe");
  Receiver receiver;
  Transfer transfer;
  transfer.stop();
  expect_status("Read of a missing file, stopped", drive.read(drive / "none", 0, 1, receiver, transfer),
                FS_ERR_NOT_FOUND);
  expect_status("Read for nothing of a folder, stopped", drive.read(drive.folder, 0, 0, receiver, transfer), FS_OK);
  expect_status("Read for nothing behind a file", drive.read(drive.write("f", "abc"), 8, 0, receiver, transfer),
                FS_OK);
  expect_status("Read for a negative offset", drive.read(drive / "f", -1, 0, receiver, transfer),
                FS_ERR_OPERATION_FAILED);
  const int other_end = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);  // so that opening does not wait
  expect_status("Read of a pipe", drive.read(pipe, 0, 1, receiver, transfer), FS_ERR_OPERATION_FAILED);
  ::close(other_end);
  transfer.handle->state = 0;
  expect_status("Read of a folder", drive.read(drive.folder, 0, 1, receiver, transfer), FS_ERR_READ);
}

CONFORMANCE_CHECK(disk, "upload.kinds", "Upload onto a pipe can't take its position and leaves the pipe") {
  DiskDrive drive;
  Source source("x");
  Transfer transfer;
  need(::mkfifo((drive / "pipe").c_str(), 0600) == 0, "make a pipe");
  expect_status("Upload onto a pipe", drive.upload("pipe", source, transfer), FS_ERR_SEEK);
  expect(fs::exists(drive / "pipe"), "Upload onto a pipe removed it");
}

CONFORMANCE_CHECK(disk, "upload.full", "A disk that fills up on any byte, the last one too, is never a success") {
  if (!fs::exists("/dev/full")) harness::skip("This system has no /dev/full");
  DiskDrive drive;
  for (const long long size : {1LL, chunk_size, chunk_size + 1}) {
    fs::create_symlink("/dev/full", drive / "full");
    Source source(pattern(size));
    Transfer transfer;
    errno = 0;
    const int status = drive.upload("full", source, transfer);
    const int reason = errno;
    expect_status("Upload onto a full disk", status, FS_ERR_FAILED);
    expect_equal("The errno after Upload onto a full disk", reason, ENOSPC);
    expect(!fs::exists(fs::symlink_status(drive / "full")), "Upload onto a full disk left its target");
    fs::remove(drive / "full");
  }
}

CONFORMANCE_CHECK(disk, "upload.limit", "A file that grows beyond the process's limit is never a success") {
  DiskDrive drive;
  ::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{chunk_size + 100, RLIM_INFINITY};
  need(::setrlimit(RLIMIT_FSIZE, &limit) == 0, "limit the size of files");
  for (const auto& [size, status] :
       {std::pair{chunk_size + 100, FS_OK}, {chunk_size + 101, FS_ERR_FAILED}, {3 * chunk_size, FS_ERR_FAILED}}) {
    Source source(pattern(size));
    Transfer transfer;
    expect_status(fmt::format("Upload of {} bytes where {} are the limit", size, chunk_size + 100),
                  drive.upload("f", source, transfer), status);
    expect(fs::exists(drive / "f") == (status == FS_OK), "Upload beyond the limit left a file, or none within it");
    if (size == chunk_size + 101)
      expect_equal("The offsets asked for, a short write's from the first byte left out", source.offsets,
                   std::vector<long long>{0, chunk_size, chunk_size + 100});
  }
}

CONFORMANCE_CHECK(disk, "transfer.exec", "A command that runs during a transfer or a listing inherits nothing") {
  DiskDrive drive;
  const std::string file = drive.write("f", "abc");
  const auto expect_closed = [] {
    for (int descriptor = 3; descriptor < 64; ++descriptor) {
      const int flags = ::fcntl(descriptor, F_GETFD);
      expect(flags < 0 || (flags & FD_CLOEXEC) != 0, "A command would inherit a descriptor of a running operation");
    }
  };
  for (int descriptor = 3; descriptor < 64; ++descriptor)
    ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);  // the check's own
  Receiver receiver;
  Source source("abc");
  Entries entries;
  Transfer transfer;
  receiver.then = expect_closed;
  entries.then = [&](_FS_FILE_V2&) { expect_closed(); };
  source.answer = [&](_FS_CACHE_REQUEST&) { return expect_closed(), 0; };
  expect_status("Read", drive.read(file, 0, 3, receiver, transfer), FS_OK);
  expect_status("Upload", drive.upload("g", source, transfer), FS_OK);
  expect_status("GetFileList", drive->GetFileList(drive.folder.c_str(), &entries, &drive.message), FS_OK);
}
