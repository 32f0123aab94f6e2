// What this module alone promises: where its user, its root, its credential and its counts come from.
#if defined(__APPLE__)
#include <sys/mount.h>
#else
#include <sys/vfs.h>
#endif

#include <cstdlib>

#include "conformance/disk_host.h"

namespace {

using Query = int (Protocol::*)(char*, int*);

std::string value_of(DiskDrive& drive, Query query) {
  std::string buffer(8192, '#');
  int length = static_cast<int>(buffer.size());
  expect_status("GetUserInfo or GetRootID", ((*drive.operator->()).*query)(buffer.data(), &length), FS_OK);
  return buffer.substr(0, static_cast<std::size_t>(length));
}

}  // namespace

CONFORMANCE_CHECK(localdisk, "account.user",
                  "GetUserInfo gives host and user name, from USER or the password entry") {
  DiskDrive drive;
  char host[1025] = {};
  need(::gethostname(host, 1024) == 0, "learn this machine's name");
  const std::string prefix = std::string(host) + "/";
  const auto expect_user = [&](const std::optional<std::string>& variable, const std::string& expected) {
    const ScopedEnvironment user("USER", variable);
    expect_equal(fmt::format("The user where USER is {}", variable ? shown(*variable) : "unset"),
                 value_of(drive, &Protocol::GetUserInfo), prefix + expected);
  };
  expect_user("some body", "some body");
  expect_user(std::string(3000, 'u'), std::string(1023, 'u'));
  expect_user("", "");
  if (::getuid() == 0) expect_user(std::nullopt, "root");
}

CONFORMANCE_CHECK(localdisk, "account.root",
                  "The option root_path is the root's identity and nothing else's business") {
  DiskDrive drive;
  const auto set = [&](const char* key, const char* value) {
    expect_status("SetOpt", drive->SetOpt(key, value), FS_OK);
  };
  expect_equal("The root before it is set", value_of(drive, &Protocol::GetRootID), "/");
  set("ROOT_PATH", "/Volumes/x");
  set("root_path ", "other");
  set("other", "v");
  expect_equal("The root", value_of(drive, &Protocol::GetRootID), "/Volumes/x");
  expect_equal("The path at '/dev'", drive.info("/dev").path, "/dev");
  set("root_path", "");
  expect_equal("An empty root", value_of(drive, &Protocol::GetRootID), "");
}

CONFORMANCE_CHECK(localdisk, "account.credential",
                  "GetCredential hands the pid to the manager and nothing to the buffer") {
  DiskDrive drive;
  char buffer[] = "#";
  const auto ask = [&](const char* what, char* room, int capacity, int status) {
    int length = capacity;
    expect_status(fmt::format("GetCredential {}", what), drive->GetCredential(room, &length), status);
    expect_equal(fmt::format("The length after GetCredential {}", what), length, 0);
  };
  expect_status("GetCredential without a length", drive->GetCredential(buffer, nullptr), FS_ERR_INVALID_ARG);
  ask("without a buffer", nullptr, 9, FS_ERR_BUFFER_TOO_SMALL);
  ask("with a negative capacity", buffer, -1, FS_ERR_BUFFER_TOO_SMALL);
  expect(drive.manager.values.empty(), "GetCredential handed a value to the manager although it failed");
  ask("with room for nothing", buffer, 0, FS_OK);
  expect_status("SetOpt", drive->SetOpt("Pid", "eight"), FS_OK);
  ask("with room for a byte", buffer, 1, FS_OK);
  expect(drive.manager.values == (std::vector<std::string>{"pid-7 pid pid-7 1", "eight pid eight 1"}),
         "GetCredential handed other values to the manager than the pid of each time");
  expect(buffer[0] == '#', "GetCredential wrote into the buffer");
  drive.manager.throws = true;
  int length = 1;
  expect_status("GetCredential whose SetValue throws", drive->GetCredential(buffer, &length),
                FS_ERR_OPERATION_FAILED);
}

CONFORMANCE_CHECK(localdisk, "account.pid", "A pid that fills its buffer is taken whole") {
  Manager manager;
  manager.pid = std::string(256, 'p');
  void* object = nullptr;
  if (!entry<CreateObject>("GetProtocol")(&manager, &object)) harness::give_up("GetProtocol made no object");
  char buffer = 0;
  int length = 0;
  expect_status("GetCredential", static_cast<Protocol*>(object)->GetCredential(&buffer, &length), FS_OK);
  expect(manager.values == std::vector<std::string>{manager.pid + " pid " + manager.pid + " 1"},
         "A pid of 256 bytes was not handed over whole");
  static_cast<Protocol*>(object)->Release();
}

CONFORMANCE_CHECK(localdisk, "account.quota",
                  "GetQuota counts the volume under root_path, unless that is the root itself") {
  DiskDrive drive;
  unsigned long long total = 1, used = 2;
  const auto ask = [&](const char* where, unsigned long long* in_all, unsigned long long* in_use, int status) {
    expect_status(fmt::format("GetQuota {}", where), drive->GetQuota(in_all, in_use), status);
  };
  ask("of the root", &total, &used, FS_OK);
  expect_status("SetOpt", drive->SetOpt("root_path", (drive / "none").c_str()), FS_OK);
  ask("of a missing folder", &total, &used, FS_ERR_OPERATION_FAILED);
  expect(total == 1 && used == 2, "GetQuota stored counts of the root, or although it failed");
  expect_status("SetOpt", drive->SetOpt("root_path", drive.folder.c_str()), FS_OK);
  ask("of a folder, in all", &total, nullptr, FS_OK);
  ask("of a folder, in use", nullptr, &used, FS_OK);
  struct statfs volume {};
  need(::statfs(drive.folder.c_str(), &volume) == 0, "examine the volume");
  expect_equal("The bytes in all", total, static_cast<unsigned long long>(volume.f_bsize) * volume.f_blocks);
  expect(used > 2 && used <= total, "The bytes in use are none, or more than there are in all");
}
