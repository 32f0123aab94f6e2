// One folder of the module's storage as the mounted drive sees it: paths start at that folder, and what fails is
// an errno.
#pragma once

#include <atomic>
#include <ctime>
#include <exception>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "host/client/drive.h"

namespace host {

// The errno that a program is told for what an operation threw: the system's own reason where the module leaves
// one, else what comes closest to the status.
int errno_of(const std::exception& error);

[[noreturn]] void throw_errno(int reason, const std::string& path);

struct Attributes {
  bool directory = false;
  long long size = 0;
  time_t accessed = 0, modified = 0, changed = 0;
  friend bool operator==(const Attributes&, const Attributes&) = default;
};

// A time that is left out stays.
struct NewTimes {
  std::optional<time_t> accessed, modified;
};

// Every path starts with "/", which is the root folder, and has no "/" at its end. Failures are thrown: errno_of
// tells them apart. Operations may run at once.
//
// A file is replaced as a whole: its new content goes beside it under a name of the mapping's own and then takes
// its place, so that the drive holds the older content or the newer one whatever happens in between. The names of
// such uploads are not seen on the drive and can't be used there.
class RootedDrive {
 public:
  // Everything goes through `drive`, whose root_path this sets; `root` is an absolute path.
  RootedDrive(Drive& drive, std::string root);

  Attributes attributes(const std::string& path);
  using Visit = std::function<void(const std::string& name, bool directory)>;
  void list(const std::string& path, const Visit& visit);
  std::optional<Quota> volume();

  // Reads what there is of the range and answers how much it was: less than `out` holds at the file's end only.
  std::size_t read(const std::string& path, long long offset, std::span<char> out);
  void fetch(const std::string& path, long long size, const Drive::Sink& sink);
  // Fails where the file can be seen but not be read.
  void expect_readable(const std::string& path, const Attributes& file);

  void create_file(const std::string& path);
  // The file's new content and times. Answers what the drive says of it afterwards. Filling is for a file that
  // was created for this content: there is nothing older in it to be lost.
  Attributes fill_file(const std::string& path, const Attributes& file, const Drive::Source& source);
  Attributes replace_file(const std::string& path, const Attributes& file, const Drive::Source& source);
  void create_directory(const std::string& path);
  void remove_file(const std::string& path);
  void remove_directory(const std::string& path);  // with the leftovers of uploads that were killed
  void move(const std::string& from, const std::string& to);
  void set_times(const std::string& path, const NewTimes& times);

 private:
  struct Place {
    std::string parent, name;
    [[nodiscard]] std::string path() const;
  };
  [[nodiscard]] std::string on_drive(const std::string& path) const;
  [[nodiscard]] Place place_of(const std::string& path) const;
  [[nodiscard]] std::string upload_name();
  int why_nothing_can_be_made_in(const std::string& parent);

  Drive& drive_;
  std::string root_;
  std::string upload_prefix_;  // of this mapping's uploads alone
  std::atomic<unsigned long> uploads_ = 0;
};

}  // namespace host
