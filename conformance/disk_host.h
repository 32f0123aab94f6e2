// For the checks of what a module does with this machine's files.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "conformance/fake_host.h"
#include "testing/scoped_environment.h"
#include "testing/temporary_folder.h"

namespace fs = std::filesystem;

// The object under test, and a temporary folder of this machine to work in.
class DiskDrive final : public Session {
 public:
  DiskDrive() { folder = temporary_.path(); }
  std::string operator/(std::string_view name) const { return temporary_ / name; }
  std::string write(std::string_view name, std::string_view content) const { return temporary_.write(name, content); }

 private:
  TemporaryFolder temporary_;
};

// Without the rights of root, if the check has them, while it lives.
class Unprivileged {
 public:
  Unprivileged() : was_root_(::geteuid() == 0) {
    constexpr uid_t nobody = 65534;
    if (was_root_ && ::seteuid(nobody) != 0) harness::skip("Leaving the rights of root is not permitted here");
  }
  ~Unprivileged() {
    if (was_root_ && ::seteuid(0) != 0) harness::fail("The rights of root can't be had back");
  }
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;

 private:
  bool was_root_;
};

// What a check needs of the system itself, before it can ask the module anything.
inline void need(bool done, std::string_view what) {
  if (!done) harness::give_up(fmt::format("The check can't {}", what));
}
