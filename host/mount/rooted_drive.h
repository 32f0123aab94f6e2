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
#include <string_view>

#include "host/client/drive.h"

namespace host {

// The errno that a program is told for what an operation threw: the system's own reason where the module leaves
// one, else what comes closest to the status.
int errno_of(const std::exception& error);

// What others change in the root folder shows on the drive within this time, and so does what is no longer there.
inline constexpr double seconds_to_remember = 1;

[[noreturn]] void throw_errno(int reason, const std::string& path);

struct Attributes {
  bool directory = false;
  long long size = 0;
  time_t accessed = 0, modified = 0, changed = 0;
  bool operator==(const Attributes&) const = default;
};

// Whether what was said of a file at two times allows that its content is the same.
bool can_have_same_content(const Attributes& one, const Attributes& other);

// A time that is left out stays.
struct NewTimes {
  std::optional<time_t> accessed, modified;
};

// Every path starts with "/", which is the root folder, and has no "/" at its end. Failures are thrown: errno_of
// tells them apart. Operations may run at once.
//
// A file is replaced as a whole: its new content goes beside it under a name of the mapping's own and then takes
// its place, so that the drive holds the older content or the newer one whatever happens in between. Such names start
// with a text that no other mapping has: they are not seen through this one, and all others are ordinary names.
class RootedDrive {
 public:
  // Everything goes through `drive`, whose root_path this sets; `root` is an absolute path.
  RootedDrive(Drive& drive, std::string root);

  [[nodiscard]] const std::string& own_prefix() const { return own_prefix_; }
  [[nodiscard]] std::string aside_path(unsigned long number) const;  // for a file that is removed while it is open

  std::optional<Attributes> find(const std::string& path);  // nothing where there is no entry
  Attributes attributes(const std::string& path);
  using Visit = std::function<void(const std::string& name, const Attributes& entry)>;
  void list(const std::string& path, const Visit& visit);
  std::optional<Quota> volume();

  // Reads what there is of as much as `room` takes, and hands it over once: less than that at the file's end only.
  // What the module gives in one piece never goes through `room`.
  using Take = std::function<void(std::span<const char> content)>;
  void read(const std::string& path, long long offset, std::span<char> room, const Take& take);
  void fetch(const std::string& path, long long size, const Drive::Sink& sink);
  // Fails where the file can't be read, and where it is a pipe, a device or a socket, without opening such a thing.
  void expect_readable(const std::string& path, const Attributes& file);
  void expect_ordinary(const std::string& path, const Attributes& file);

  Attributes create_file(const std::string& path);
  // The file's new content and times, uploaded under a name made from `number`. Answers what the drive says of it
  // afterwards. A time that is left out is that of the upload.
  Attributes replace_file(const std::string& path, unsigned long number, long long size, const NewTimes& times,
                          const Drive::Source& source);
  Attributes create_directory(const std::string& path);
  void remove_file(const std::string& path);
  void remove_directory(const std::string& path);
  Attributes move(const std::string& from, const std::string& to, bool directory);
  void set_times(const std::string& path, const NewTimes& times);

  // What a mapping that was killed has left beside `path`; nothing where it has left nothing.
  void remove_leftover(const std::string& path, const std::string& prefix, unsigned long number);

 private:
  struct Place {
    std::string parent, name;
    [[nodiscard]] std::string path() const;
  };
  [[nodiscard]] std::string on_drive(const std::string& path) const;
  [[nodiscard]] Place place_of(const std::string& path) const;
  [[nodiscard]] bool is_own(std::string_view name) const;
  int why_nothing_can_be_made_in(const std::string& parent);

  Drive& drive_;
  std::string root_;
  std::string own_prefix_;
  std::atomic<unsigned long> probes_ = 0;
};

}  // namespace host
