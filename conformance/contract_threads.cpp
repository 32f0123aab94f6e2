// What every module does: all of it at once.
#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "conformance/fake_host.h"
#include "testing/scoped_environment.h"

namespace {

constexpr int thread_count = 16;
constexpr auto duration = std::chrono::seconds(3);
constexpr long long large_size = 20 * chunk_size;

int state_of(const _FS_HANDLE& handle) { return __atomic_load_n(&handle.state, __ATOMIC_ACQUIRE); }

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

// Notes whether the handle was stopped when a piece was through: after that there must be no other.
struct WithinAPiece {
  const _FS_HANDLE& handle;
  bool stopped = false;
  void begin() const { expect(!stopped, "A transfer went on after it was stopped from another thread"); }
  void end() { stopped = state_of(handle) >= stop_state; }
};

void transfer_and_stop(Drive& drive, const std::string& folder, const std::string& content, std::mt19937& random) {
  Transfer reading, writing;
  Receiver receiver;
  {
    WithinAPiece piece{*reading.handle};
    receiver.then = [&] { piece.begin(); };
    reading.then = [&] { piece.end(); };
    const Stopper stopper(reading, random() % 4000);
    const int status = drive->Read((folder + "/large").c_str(), 0, large_size, reading.handle, &receiver, nullptr);
    expect_status("Read stopped from another thread", status, {FS_OK, FS_ERR_READ_CANCELLED});
    expect((receiver.content.size() == content.size()) == (status == FS_OK) && content.starts_with(receiver.content),
           "Read beside other threads delivered other bytes than its status says");
  }
  Source source(content);
  _FS_FILE_V2 file;
  file.name = "stopped";
  file.size = large_size;
  WithinAPiece piece{*writing.handle};
  source.answer = [&](_FS_CACHE_REQUEST&) { return piece.begin(), 0; };
  writing.then = [&] { piece.end(); };
  const Stopper stopper(writing, random() % 4000);
  const int status = drive->Upload(folder.c_str(), writing.handle, &source, &file, no_flag, nullptr);
  expect_status("Upload stopped from another thread", status, {FS_OK, FS_ERR_UPLOAD_CANCELLED});
  expect((drive.info(folder + "/stopped").size == large_size) == (status == FS_OK),
         "Upload beside other threads wrote another number of bytes than its status says");
}

void use_names(Drive& drive, const std::string& folder, int round) {
  Source source(pattern(chunk_size / 2 + round));
  Receiver receiver;
  Transfer transfer;
  Entries entries;
  const auto size = static_cast<long long>(source.content.size());
  _FS_FILE_V2 file, directory, moved;
  file.name = "file " + std::to_string(round);
  file.size = size;
  const auto done = [](const char* call, int status) {
    expect_status(fmt::format("{} beside other threads", call), status, FS_OK);
  };
  done("Upload", drive->Upload(folder.c_str(), transfer.handle, &source, &file, no_flag, nullptr));
  done("Read", drive->Read(file.path.c_str(), 0, size, transfer.handle, &receiver, nullptr));
  expect(receiver.content == source.content, "A file that was written beside other threads reads back otherwise");
  directory.name = "directory";
  done("CreateDirectory", drive->CreateDirectory(folder.c_str(), &directory, nullptr));
  moved.name = "moved";
  done("Move", drive->Move(file.path.c_str(), directory.path.c_str(), &moved, nullptr));
  expect(moved.path == folder + "/directory/moved" && moved.size == size,
         "Move beside other threads filled its record from another entry");
  done("GetFileList", drive->GetFileList(directory.path.c_str(), &entries, nullptr));
  expect(entries.calls == 1 && entries.by_name.count("moved") == 1,
         "GetFileList beside other threads told other entries than those of its folder");
  done("Delete", drive->Delete(&moved, nullptr));
  done("DeleteDirectory", drive->DeleteDirectory(&directory, nullptr));
}

void ask(Drive& drive) {
  char text[4096];
  int user = sizeof(text), credential = sizeof(text);
  unsigned long long total = 0, used = 0;
  drive->GetUserInfo(text, &user);
  drive->GetCredential(text, &credential);
  drive->GetQuota(&total, &used);
  Manager manager;
  void* object = nullptr;
  if (entry<CreateObject>("GetProtocol")(&manager, &object)) static_cast<Protocol*>(object)->Release();
}

}  // namespace

CONFORMANCE_CHECK(contract, "threads.together",
                  "Sixteen threads use one object at once, transfers are stopped from outside, each gets its own") {
  const ScopedEnvironment user("USER", "somebody");
  const ScopedZone zone("UTC0");
  Drive drive;
  Log log;
  expect(entry<bool(ILog*)>("BindLogger")(&log), "BindLogger refused a logger");
  const std::string content = pattern(large_size);
  std::vector<std::string> folders;
  for (int number = 0; number < thread_count; ++number) {
    folders.push_back(drive.make_folder(std::to_string(number)));
    Source source(content);
    Transfer transfer;
    expect_status("Upload", drive.upload_into(folders.back(), "large", source, transfer), FS_OK);
  }
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(thread_count));
  const auto end = std::chrono::steady_clock::now() + duration;
  for (int number = 0; number < thread_count; ++number) {
    threads.emplace_back([&, number] {
      std::mt19937 random(static_cast<unsigned>(number));
      const std::string& folder = folders[static_cast<std::size_t>(number)];
      for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        use_names(drive, folder, round);
        ask(drive);
        transfer_and_stop(drive, folder, content, random);
        Entries everybody;
        drive->GetFileList(drive.folder.c_str(), &everybody, nullptr);
        expect_equal("The number of entries told beside other threads", everybody.calls, thread_count);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  entry<void()>("UnbindLogger")();
}
