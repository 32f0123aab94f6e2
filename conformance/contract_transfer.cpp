// What every module does: reading and writing content.
#include "conformance/fake_host.h"

namespace {

// Whether the pieces follow each other from `offset` on, none of them empty or longer than may travel at once.
bool is_in_order(const std::vector<Chunk>& chunks, long long offset) {
  for (const Chunk& chunk : chunks) {
    if (chunk.offset != offset || chunk.length == 0 || chunk.length > chunk_size) return false;
    offset += static_cast<long long>(chunk.length);
  }
  return true;
}

// What progress has to report of a Read that delivered these pieces.
std::vector<Report> reports_of(const std::vector<Chunk>& chunks, long long total) {
  std::vector<Report> reports;
  reports.reserve(chunks.size());
  long long done = 0;
  for (const Chunk& chunk : chunks) reports.push_back({total, done += static_cast<long long>(chunk.length)});
  return reports;
}

bool exists(Drive& drive, const std::string& path) {
  _FS_FILE_V2 file;
  return drive->GetFileInfo(path.c_str(), &file, &drive.message) == FS_OK;
}

}  // namespace

CONFORMANCE_CHECK(contract, "read.ranges", "Read delivers a range in file order and reports each piece") {
  Drive drive;
  const std::string content = pattern(2 * chunk_size + 1000);
  const std::string path = drive.make_file("f", content);
  const long long size = static_cast<long long>(content.size());
  struct Row {
    const char* range;
    long long offset, length, delivered;
    int status;
  };
  for (const Row& row :
       {Row{"the first byte", 0, 1, 1, FS_OK}, Row{"one chunk from the middle", 7, chunk_size, chunk_size, FS_OK},
        Row{"three chunks", 3, 2 * chunk_size + 1, 2 * chunk_size + 1, FS_OK},
        Row{"the whole file", 0, size, size, FS_OK}, Row{"the last byte", size - 1, 1, 1, FS_OK},
        Row{"nothing", 0, 0, 0, FS_OK}, Row{"a range that ends behind the file", size - 10, 11, 10, FS_ERR_READ},
        Row{"a range that begins where the file ends", size, 1, 0, FS_ERR_READ},
        Row{"a range far behind the file", 1LL << 32, 5, 0, FS_ERR_READ},
        Row{"a negative length", 0, -1, 0, FS_ERR_INVALID_ARG}}) {
    Receiver receiver;
    Transfer transfer;
    const int status = Drive::offered("Read", drive.read(path, row.offset, row.length, receiver, transfer));
    expect_status(fmt::format("Read for {}", row.range), status, row.status);
    expect_equal(fmt::format("The number of bytes that Read delivered of {}", row.range), receiver.content.size(),
                 static_cast<std::size_t>(row.delivered));
    expect(is_in_order(receiver.chunks, row.offset),
           fmt::format("Read delivered pieces that are empty, too long or out of order: {}", shown(receiver.chunks)));
    expect_equal(fmt::format("What progress reported of {}", row.range), transfer.reports,
                 reports_of(receiver.chunks, row.length));
    expect(row.delivered == 0 || receiver.content == content.substr(static_cast<std::size_t>(row.offset),
                                                                    static_cast<std::size_t>(row.delivered)),
           fmt::format("Read delivered other bytes than those of {}", row.range));
  }
  Receiver receiver;
  Transfer transfer;
  expect_status("Read for a negative offset", drive.read(path, -1, 1, receiver, transfer),
                {FS_ERR_INVALID_ARG, FS_ERR_OPERATION_FAILED});
  expect_status("Read for nothing, without handle and receiver",
                drive->Read(path.c_str(), 0, 0, nullptr, nullptr, &drive.message), FS_OK);
}

CONFORMANCE_CHECK(contract, "read.failures", "Each way in which reading fails has its status") {
  Drive drive;
  const std::string path = drive.make_file("f", "abc");
  Receiver receiver;
  Transfer transfer;
  transfer.handle->state = 2;  // below the states that stop
  expect_status("Read of a missing file", drive.read(drive / "none", 0, 1, receiver, transfer), FS_ERR_NOT_FOUND);
  expect_status("Read of a folder", drive.read(drive.folder, 0, 1, receiver, transfer),
                {FS_ERR_READ, FS_ERR_NOT_FOUND});
  expect(receiver.chunks.empty() && transfer.reports.empty(), "Read failed from the start and delivered or reported");
  expect_status("Read under a state that does not stop", drive.read(path, 0, 3, receiver, transfer), FS_OK);
  receiver.then = [] { throw HostError{}; };
  expect_status("Read whose OnData throws", drive.read(path, 0, 3, receiver, transfer), FS_ERR_FAILED);
  receiver.then = [] {};
  transfer.then = [] { throw HostError{}; };
  expect_status("Read whose progress throws", drive.read(path, 0, 3, receiver, transfer), FS_ERR_FAILED);
}

CONFORMANCE_CHECK(contract, "read.cancel", "A stop is seen before the first piece and after each but the last") {
  Drive drive;
  constexpr long long size = 3 * chunk_size;
  const std::string path = drive.make_file("f", pattern(size));
  Receiver whole;
  Transfer unstopped;
  expect_status("Read of a whole file", drive.read(path, 0, size, whole, unstopped), FS_OK);
  for (std::size_t stop_after = 0; stop_after <= whole.chunks.size(); ++stop_after) {
    for (const bool from_progress : {false, true}) {
      Receiver receiver;
      Transfer transfer;
      const auto stop = [&] {
        if (receiver.chunks.size() == stop_after) transfer.stop();
      };
      stop();
      (from_progress ? transfer.then : receiver.then) = stop;
      const bool is_through = stop_after == whole.chunks.size();
      expect_status(fmt::format("Read stopped after piece {} of {}", stop_after, whole.chunks.size()),
                    drive.read(path, 0, size, receiver, transfer), is_through ? FS_OK : FS_ERR_READ_CANCELLED);
      expect_equal("The number of pieces of a stopped Read", receiver.chunks.size(), stop_after);
    }
  }
  Receiver receiver;
  Transfer transfer;
  receiver.then = [&] { transfer.handle->progress = nullptr; };
  expect_status("Read whose progress is taken away", drive.read(path, 0, 100, receiver, transfer), FS_OK);
  expect(transfer.reports.empty(), "A progress function was called that the host had taken away");
}

CONFORMANCE_CHECK(contract, "upload.content", "Upload replaces a file with what the source serves and describes it") {
  Drive drive;
  for (const long long size : {0LL, 1LL, 600000LL, chunk_size, 2 * chunk_size + 1}) {
    drive.make_file("f", "an older and longer text");
    Source source(pattern(size));
    Transfer transfer;
    _FS_FILE_V2 file = marked_record("f");
    file.size = size;
    expect_status(fmt::format("Upload of {} bytes", size),
                  drive->Upload(drive.folder.c_str(), transfer.handle, &source, &file, some_flag, &drive.message),
                  FS_OK);
    expect(drive.content(drive / "f") == source.content,
           fmt::format("A file of {} bytes reads back otherwise", size));
    expect(file.path == drive / "f" && file.name == "f" && file.type == type_file && file.mtime != "M",
           fmt::format("The record after Upload does not describe the file: {}", shown(as_text(file))));
    expect_equal("The size after Upload", file.size, size);
    expect(keeps_host_members(file), "Upload changed a member of the record that is the host's own");
    expect_equal("The number of progress reports of an Upload", transfer.reports.size(), source.offsets.size());
    if (size > 0)
      expect_equal("The last progress report of an Upload",
                   std::vector<Report>(transfer.reports.end() - 1, transfer.reports.end()),
                   std::vector<Report>{{size, size}});
  }
}

CONFORMANCE_CHECK(contract, "upload.blocks", "A block may stand in the host's memory and have any length") {
  Drive drive;
  Source source;
  Transfer transfer;
  std::string memory = pattern(chunk_size + 77);
  constexpr long long total = chunk_size + 77 + 250000;
  source.answer = [&](_FS_CACHE_REQUEST& request) {
    expect_equal("The total size of a block's request", request.total_size, total);
    request.buffer = reinterpret_cast<unsigned char*>(memory.data());
    request.delivered = request.offset == 0 ? chunk_size + 77 : 100000;
    return 0;
  };
  expect_status("Upload from the host's own memory", drive.upload("own", source, transfer, total), FS_OK);
  expect_equal("The offsets that Upload asked for", source.offsets,
               std::vector<long long>{0, chunk_size + 77, chunk_size + 100077, chunk_size + 200077});
  const std::string part = memory.substr(0, 100000);
  expect(drive.content(drive / "own") == memory + part + part + part,
         "A file made of blocks in the host's memory holds something else");
  expect_status("Upload of a negative size", drive.upload("negative", source, transfer, -5), FS_OK);
}

CONFORMANCE_CHECK(contract, "upload.refused",
                  "An upload that can't begin asks for nothing and leaves all as it was") {
  Drive drive;
  Source source("x");
  Transfer transfer;
  drive.make_folder("folder");
  expect_status("Upload into a missing folder", drive.upload_into(drive / "none", "f", source, transfer),
                FS_ERR_NOT_FOUND);
  expect_status("Upload onto a folder", drive.upload("folder", source, transfer), FS_ERR_NOT_FOUND);
  expect(source.offsets.empty(), "An Upload that can't begin asked for a block");
  expect_equal("The type of a folder onto which was uploaded", drive.info(drive / "folder").type, type_directory);
  expect(!exists(drive, drive / "none"), "An Upload into a missing folder made it");
}

CONFORMANCE_CHECK(contract, "upload.failures", "A transfer that fails is reported and leaves no file") {
  Drive drive;
  struct Row {
    const char* what;
    std::function<int(_FS_CACHE_REQUEST&)> answer;
  };
  for (const Row& row :
       {Row{"whose ReadBlock fails", [](_FS_CACHE_REQUEST&) { return -1; }},
        Row{"whose ReadBlock throws", [](_FS_CACHE_REQUEST&) -> int { throw HostError{}; }},
        Row{"that gets a block of nothing", [](_FS_CACHE_REQUEST& request) { return request.delivered = 0, 0; }},
        Row{"that gets a block of a negative length",
            [](_FS_CACHE_REQUEST& request) { return request.delivered = -1, 0; }},
        Row{"that gets a block without a buffer",
            [](_FS_CACHE_REQUEST& request) { return request.buffer = nullptr, 0; }},
        Row{"that gets more than its buffer holds",
            [](_FS_CACHE_REQUEST& request) { return request.delivered = chunk_size + 1, 0; }}}) {
    for (const long long good : {0LL, chunk_size}) {  // in the first block and in a later one
      drive.make_file("f", "older");
      Source source(pattern(2 * chunk_size));
      Transfer transfer;
      source.answer = [&](_FS_CACHE_REQUEST& request) { return request.offset < good ? 0 : row.answer(request); };
      expect_status(fmt::format("Upload {}", row.what), drive.upload("f", source, transfer), FS_ERR_FAILED);
      expect(!exists(drive, drive / "f"), fmt::format("Upload {} left a file", row.what));
    }
  }
  Source source("x");
  Transfer transfer;
  transfer.then = [] { throw HostError{}; };
  expect_status("Upload whose progress throws", drive.upload("f", source, transfer), FS_ERR_FAILED);
  expect(!exists(drive, drive / "f"), "Upload whose progress throws left a file");
}

CONFORMANCE_CHECK(contract, "upload.cancel", "A stop is seen before each block and leaves what was written") {
  Drive drive;
  for (std::size_t stop_after = 0; stop_after <= 3; ++stop_after) {
    for (const bool from_progress : {false, true}) {
      Source source(pattern(3 * chunk_size));
      Transfer transfer;
      const auto stop = [&] {
        if (source.offsets.size() == stop_after) transfer.stop();
      };
      stop();
      if (from_progress)
        transfer.then = stop;
      else
        source.answer = [&](_FS_CACHE_REQUEST&) { return stop(), 0; };
      expect_status(fmt::format("Upload stopped after block {} of 3", stop_after),
                    drive.upload("f", source, transfer), stop_after == 3 ? FS_OK : FS_ERR_UPLOAD_CANCELLED);
      expect_equal("The number of blocks that a stopped Upload asked for", source.offsets.size(), stop_after);
      const std::string written = drive.content(drive / "f");
      expect(written == source.content.substr(0, stop_after * static_cast<std::size_t>(chunk_size)),
             fmt::format("Upload stopped after block {} left {} bytes, or others", stop_after, written.size()));
    }
  }
}
