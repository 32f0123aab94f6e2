// User, volume, identity and options.
#include <sys/vfs.h>
#include <unistd.h>

#include "conformance/fake_host.h"

namespace {

struct TextOut {
  int status, length;
  std::string buffer;
};

template <class Query>
TextOut ask(const Query& query, int capacity) {
  TextOut out{0, capacity, std::string(4096, '#')};
  out.status = query(out.buffer.data(), &out.length);
  return out;
}

// What holds for every value that is handed out as text without a terminator.
template <class Query>
void expect_text(const Query& query, const std::string& value) {
  const int length = static_cast<int>(value.size());
  for (const int capacity : {length, length + 1, 4096}) {
    const TextOut out = ask(query, capacity);
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.length, length);
    EXPECT_EQ(out.buffer.substr(0, value.size() + 1), value + "#");
  }
  for (const int capacity : {length - 1, -1}) {
    const TextOut out = ask(query, capacity);
    EXPECT_EQ(out.status, 5);
    EXPECT_EQ(out.length, length);
    EXPECT(out.buffer == std::string(4096, '#'));
  }
  int needed = 4096;
  EXPECT_EQ(query(nullptr, &needed), 5);
  EXPECT_EQ(needed, length);
  char byte = '#';
  EXPECT(query(&byte, nullptr) == 6 && query(nullptr, nullptr) == 6 && byte == '#');
}

}  // namespace

BOUNDARY_CHECK(user, "account.user", "GetUserInfo gives host and user name, from USER or the password entry") {
  Drive drive;
  const auto query = [&](char* buffer, int* length) { return drive->GetUserInfo(buffer, length); };
  char host[1025] = {};
  EXPECT_EQ(::gethostname(host, 1024), 0);
  const std::string prefix = std::string(host) + "/";
  {
    const ScopedEnvironment user("USER", "some body");
    expect_text(query, prefix + "some body");
  }
  {
    const ScopedEnvironment user("USER", std::string(3000, 'u'));
    expect_text(query, prefix + std::string(1023, 'u'));
  }
  {
    const ScopedEnvironment user("USER", "");
    expect_text(query, prefix);
  }
  if (::getuid() == 0) {
    const ScopedEnvironment user("USER", std::nullopt);
    expect_text(query, prefix + "root");
  }
}

BOUNDARY_CHECK(root, "account.root", "The option root_path is the root's identity and nothing else's business") {
  Drive drive;
  const auto query = [&](char* buffer, int* length) { return drive->GetRootID(buffer, length); };
  expect_text(query, "/");
  EXPECT_EQ(drive->SetOpt("ROOT_PATH", "/Volumes/x"), 0);
  EXPECT_EQ(drive->SetOpt("root_path ", "other"), 0);
  EXPECT_EQ(drive->SetOpt("other", "v"), 0);
  expect_text(query, "/Volumes/x");
  EXPECT_EQ(drive.info("/dev").path, "/dev");
  EXPECT_EQ(drive->SetOpt("root_path", ""), 0);
  expect_text([&](char* buffer, int* length) { return drive->GetRootID(buffer, length); }, "");
}

BOUNDARY_CHECK(credential, "account.credential",
               "GetCredential hands the pid to the manager and nothing to the buffer") {
  Drive drive;
  char buffer[] = "#";
  const auto query = [&](int capacity, int status) {
    int length = capacity;
    EXPECT_EQ(drive->GetCredential(buffer, &length), status);
    EXPECT_EQ(length, 0);
  };
  int length = 9;
  EXPECT(drive->GetCredential(nullptr, &length) == 5 && length == 0);
  EXPECT(drive->GetCredential(nullptr, nullptr) == 6 && drive->GetCredential(buffer, nullptr) == 6);
  query(-1, 5);
  EXPECT(drive.manager.values.empty());
  query(0, 0);
  EXPECT_EQ(drive->SetOpt("Pid", "eight"), 0);
  query(1, 0);
  EXPECT(drive.manager.values == (std::vector<std::string>{"pid-7 pid pid-7 1", "eight pid eight 1"}));
  EXPECT_EQ(buffer[0], '#');
  drive.manager.throws = true;
  length = 1;
  EXPECT_EQ(drive->GetCredential(buffer, &length), 24);
}

BOUNDARY_CHECK(pid, "account.pid", "A pid that fills its buffer is taken whole") {
  Manager manager;
  manager.pid = std::string(256, 'p');
  void* object = nullptr;
  EXPECT(entry<bool(IProtocolManager*, void**)>("GetProtocol")(&manager, &object));
  char buffer = 0;
  int length = 0;
  EXPECT_EQ(static_cast<Protocol*>(object)->GetCredential(&buffer, &length), 0);
  EXPECT_EQ(manager.values.front(), manager.pid + " pid " + manager.pid + " 1");
  static_cast<Protocol*>(object)->Release();
}

BOUNDARY_CHECK(quota, "account.quota", "GetQuota counts the volume under root_path, unless that is the root itself") {
  Drive drive;
  unsigned long long total = 1, used = 2;
  EXPECT_EQ(drive->GetQuota(&total, &used), 0);
  EXPECT(total == 1 && used == 2);
  EXPECT_EQ(drive->SetOpt("root_path", (drive.folder / "none").c_str()), 0);
  EXPECT_EQ(drive->GetQuota(&total, &used), 24);
  EXPECT_EQ(drive->GetQuota(nullptr, nullptr), 24);
  EXPECT(total == 1 && used == 2);
  EXPECT_EQ(drive->SetOpt("root_path", drive.folder.path().c_str()), 0);
  EXPECT_EQ(drive->GetQuota(nullptr, nullptr), 0);
  EXPECT_EQ(drive->GetQuota(&total, nullptr), 0);
  EXPECT(total > 2 && used == 2);
  struct statfs volume {};
  EXPECT_EQ(::statfs(drive.folder.path().c_str(), &volume), 0);
  EXPECT_EQ(total, static_cast<unsigned long long>(volume.f_bsize) * volume.f_blocks);
  EXPECT_EQ(drive->GetQuota(nullptr, &used), 0);
  EXPECT(used > 2 && used <= total);
}
