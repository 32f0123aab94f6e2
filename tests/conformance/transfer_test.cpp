#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <vector>

#include "testing/fault_injection.h"
#include "tests/conformance/strange_host.h"

namespace {

using strange_host::chunk_size;
using strange_host::Drive;
using strange_host::Handle;
using strange_host::Receiver;
using strange_host::Source;

TEST(Transfer, ABlockThatStartsInTheChunkEndsInIt) {
  struct Row {
    std::size_t start;  // in the chunk
    long long claimed;
    int status;
  };
  constexpr auto all = static_cast<long long>(chunk_size);
  const Drive drive;
  for (const Row& row : std::to_array<Row>({
           {0, all, 0},
           {0, all + 1, 1},
           {1, all - 1, 0},
           {1, all, 1},
           {chunk_size - 1, 1, 0},
           {chunk_size - 1, 2, 1},
           {chunk_size / 2, std::numeric_limits<long long>::max(), 1},
       })) {
    SCOPED_TRACE(testing::Message() << row.claimed << " bytes from " << row.start);
    const Handle handle;
    Source source([&row](_FS_CACHE_REQUEST& request) {
      std::fill_n(request.buffer, chunk_size, static_cast<unsigned char>('x'));
      request.buffer += row.start;
      request.delivered = row.claimed;
    });
    const long long size = row.status == 0 ? row.claimed : 1;
    EXPECT_EQ(drive.upload("f", size, source, handle), row.status);
    EXPECT_EQ(std::filesystem::exists(drive.folder / "f"), row.status == 0);
    EXPECT_EQ(file_content(drive.folder / "f"),
              std::string(row.status == 0 ? static_cast<std::size_t>(size) : 0, 'x'));
    std::filesystem::remove(drive.folder / "f");
  }
}

TEST(Transfer, ABlockElsewhereIsTheHostsOwnOfAnyLength) {
  const Drive drive;
  const Handle handle;
  std::string own(2 * chunk_size + 1, 'y');
  Source source([&own](_FS_CACHE_REQUEST& request) {
    request.buffer = reinterpret_cast<unsigned char*>(own.data());
    request.delivered = static_cast<long long>(own.size());
  });
  EXPECT_EQ(drive.upload("f", static_cast<long long>(own.size()), source, handle), 0);
  EXPECT_EQ(file_content(drive.folder / "f"), own);
}

TEST(Transfer, TheRequestHoldsItsShareUntilTheBlockIsReported) {
  const Drive drive;
  Handle handle;
  long asked = 0;
  std::vector<long> reported;
  Source source([&](_FS_CACHE_REQUEST& request) {
    asked = handle.shared.use_count();
    request.delivered = 1;
  });
  handle.then = [&](long long) { reported.push_back(handle.shared.use_count()); };
  EXPECT_EQ(drive.upload("f", 2, source, handle), 0);
  EXPECT_EQ(reported, (std::vector<long>{asked, asked}));
  EXPECT_EQ(handle.shared.use_count(), 1);
}

// A disk that takes a part of a block, and what then becomes of it.
TEST(Transfer, GoesOnBehindWhatTheDiskTook) {
  if (!fault_injection::can_be_made()) GTEST_SKIP() << "the sanitizer has the C library's functions";
  struct Row {
    std::size_t room;
    int error;
    bool recovers;  // when it is asked for the second block
    int status;
    std::vector<long long> offsets, reports;
  };
  const Drive drive;
  for (const Row& row : std::vector<Row>{
           {100, ENOSPC, false, 1, {0, 100}, {100}},
           {100, EINTR, true, 0, {0, 100}, {100, 300}},
           {0, ENOSPC, true, 1, {0}, {}},
           {0, EINTR, true, 1, {0}, {}},
       }) {
    SCOPED_TRACE(testing::Message() << row.room << " bytes, then error " << row.error);
    Handle handle;
    std::vector<long long> offsets, reports;
    std::optional<fault_injection::FailWrite> full(std::in_place, row.room, row.error);
    Source source([&](_FS_CACHE_REQUEST& request) {
      offsets.push_back(request.offset);
      if (row.recovers && offsets.size() > 1) full.reset();
      request.delivered = 300 - request.offset;
      std::fill_n(request.buffer, 300, static_cast<unsigned char>('z'));
    });
    handle.then = [&](long long done) { reports.push_back(done); };
    EXPECT_EQ(drive.upload("f", 300, source, handle), row.status);
    full.reset();
    EXPECT_TRUE(fault_injection::FailWrite::triggered());
    EXPECT_EQ(offsets, row.offsets);
    EXPECT_EQ(reports, row.reports);
    EXPECT_EQ(file_content(drive.folder / "f"), row.status == 0 ? std::string(300, 'z') : "");
    EXPECT_EQ(std::filesystem::exists(drive.folder / "f"), row.status == 0);
  }
}

TEST(Transfer, TheChunkLiesWhereTheProcessorCopiesFast) {
  const Drive drive;
  const std::string file = drive.folder.write("f", std::string(8192, 'x'));
  const Handle handle;
  const void* place = nullptr;
  Receiver receiver;
  receiver.then = [&place](const unsigned char* data) { place = data; };
  std::vector<std::vector<char>> between;  // moves the allocator on, so that the chunk comes to lie elsewhere
  for (int shift = 0; shift < 128; ++shift) {
    for (const unsigned offset : {0U, 1U, 40U, 63U, 64U, 3000U, 4000U, 4060U, 4090U, 4099U}) {
      drive->Read(file.c_str(), offset, 1, handle.shared, &receiver, nullptr);
      const auto start = reinterpret_cast<std::uintptr_t>(place);
      EXPECT_EQ(start % 64, 0U);
      const std::uintptr_t above = (start - offset) % 4096;
      EXPECT_TRUE(above == 0 || above >= 32) << "offset " << offset << ": " << above << " above";
    }
    between.emplace_back(4096 + 64);
  }
}

}  // namespace
