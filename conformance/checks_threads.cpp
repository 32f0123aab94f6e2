// Everything at once.
#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "conformance/fake_host.h"

namespace fs = std::filesystem;

namespace {

constexpr int kThreads = 16;
constexpr auto kDuration = std::chrono::seconds(3);

int stop_state(const _FS_HANDLE& handle) { return __atomic_load_n(&handle.state, __ATOMIC_ACQUIRE); }

// Somebody else's decision to stop a transfer, at a moment of its own.
class Stopper {
 public:
  Stopper(Transfer& transfer, unsigned long microseconds)
      : thread_([&transfer, microseconds] {
          std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
          transfer.stop();
        }) {}
  ~Stopper() { thread_.join(); }
  Stopper(const Stopper&) = delete;
  Stopper& operator=(const Stopper&) = delete;

 private:
  std::thread thread_;
};

// Notes whether the handle was stopped when a chunk was through: after that there must be no other.
struct WithinAChunk {
  const _FS_HANDLE& handle;
  bool stopped = false;
  void begin() const { EXPECT(!stopped); }
  void end() { stopped = stop_state(handle) >= 3; }
};

void transfer_and_stop(Drive& drive, const std::string& folder, std::mt19937& random) {
  constexpr long long size = 20 * kChunk;
  static const std::string content = pattern(size);
  Transfer reading, writing;
  Receiver receiver;
  {
    WithinAChunk chunk{*reading.handle};
    receiver.then = [&] { chunk.begin(); };
    reading.then = [&] { chunk.end(); };
    const Stopper stopper(reading, random() % 4000);
    const int status = drive->Read((folder + "/large").c_str(), 0, size, reading.handle, &receiver, nullptr);
    EXPECT(status == 13 || status == 0);
    EXPECT_EQ(receiver.content.size() == content.size(), status == 0);
    EXPECT(content.starts_with(receiver.content));
  }
  Source source;
  source.content = content;
  _FS_FILE_V2 file;
  file.name = "stopped";
  file.size = size;
  WithinAChunk chunk{*writing.handle};
  source.answer = [&](_FS_CACHE_REQUEST&) { return chunk.begin(), 0; };
  writing.then = [&] { chunk.end(); };
  const Stopper stopper(writing, random() % 4000);
  const int status = drive->Upload(folder.c_str(), writing.handle, &source, &file, kNoFlag, nullptr);
  EXPECT(status == 14 || status == 0);
  const std::string written = file_content(folder + "/stopped");
  EXPECT_EQ(written.size() == content.size(), status == 0);
  EXPECT(content.starts_with(written));
}

void use_names(Drive& drive, const std::string& folder, int round) {
  Source source;
  Receiver receiver;
  Transfer transfer;
  Entries entries;
  const std::string name = "file " + std::to_string(round);
  source.content = pattern(kChunk / 2 + round);
  const auto size = static_cast<long long>(source.content.size());
  _FS_FILE_V2 file, directory, moved;
  file.name = name;
  file.size = size;
  EXPECT_EQ(drive->Upload(folder.c_str(), transfer.handle, &source, &file, kNoFlag, nullptr), 0);
  EXPECT_EQ(drive->Read(file.path.c_str(), 0, size, transfer.handle, &receiver, nullptr), 0);
  EXPECT(receiver.content == source.content);
  EXPECT_EQ(drive->SetFileTime(file.path.c_str(), "", "2020-01-02T03:04:05Z", "2021-01-02T03:04:05Z", &file, nullptr),
            0);
  directory.name = "directory";
  EXPECT_EQ(drive->CreateDirectory(folder.c_str(), &directory, nullptr), 0);
  moved.name = "moved";
  EXPECT_EQ(drive->Move(file.path.c_str(), directory.path.c_str(), &moved, nullptr), 0);
  EXPECT(moved.path == folder + "/directory/moved" && moved.size == size &&
         moved.mtime == "2021-01-02T03:04:05.000Z");
  EXPECT_EQ(drive->GetFileList(directory.path.c_str(), &entries, nullptr), 0);
  EXPECT(entries.calls == 1 && entries.by_name["moved"].atime >= "2020-01-02T03:04:05.000Z");
  EXPECT_EQ(drive->DeleteDirectory(&directory, nullptr), 24);
  EXPECT_EQ(drive->Delete(&moved, nullptr), 0);
  EXPECT_EQ(drive->DeleteDirectory(&directory, nullptr), 0);
}

void ask(Drive& drive, const std::string& folder) {
  char text[4096];
  int user = sizeof(text), root = sizeof(text), credential = sizeof(text);
  unsigned long long total = 0, used = 0;
  EXPECT_EQ(drive->GetUserInfo(text, &user), 0);
  EXPECT_EQ(drive->GetRootID(text, &root), 0);
  EXPECT_EQ(drive->GetCredential(text, &credential), 0);
  EXPECT_EQ(drive->GetQuota(&total, &used), 0);
  EXPECT(std::string_view(text, static_cast<std::size_t>(root)) == fs::path(folder).parent_path() && total >= used);
  Manager manager;
  void* object = nullptr;
  EXPECT(entry<bool(IProtocolManager*, void**)>("GetProtocol")(&manager, &object));
  static_cast<Protocol*>(object)->Release();
}

}  // namespace

BOUNDARY_CHECK(all_at_once, "threads.together",
               "Sixteen threads use one object at once, transfers are stopped from outside, and each gets its own") {
  const ScopedEnvironment user("USER", "somebody");
  const ScopedZone zone("UTC0");
  Drive drive;
  Log log;
  EXPECT(entry<bool(ILog*)>("BindLogger")(&log));
  EXPECT_EQ(drive->SetOpt("root_path", drive.folder.path().c_str()), 0);
  std::atomic<int> uploads = 0;
  std::vector<std::thread> threads;
  const auto end = std::chrono::steady_clock::now() + kDuration;
  for (int number = 0; number < kThreads; ++number) {
    fs::create_directory(drive.folder / std::to_string(number));
    drive.folder.write(std::to_string(number) + "/large", pattern(20 * kChunk));
  }
  for (int number = 0; number < kThreads; ++number) {
    const std::string folder = drive.folder / std::to_string(number);
    threads.emplace_back([&, folder, number] {
      std::mt19937 random(static_cast<unsigned>(number));
      for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        use_names(drive, folder, round);
        ask(drive, folder);
        transfer_and_stop(drive, folder, random);
        Entries everybody;
        EXPECT_EQ(drive->GetFileList(drive.folder.path().c_str(), &everybody, nullptr), 0);
        EXPECT_EQ(everybody.calls, kThreads);
        uploads += 2;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  entry<void()>("UnbindLogger")();
  EXPECT_EQ(static_cast<int>(log.lines.size()), uploads.load());
  EXPECT_EQ(static_cast<int>(drive.manager.values.size()), uploads.load() / 2);
}
