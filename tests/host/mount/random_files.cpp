// Does the same random work on two folders and compares what it gives after every step.
//
//   random_files FOLDER REFERENCE SEED OPERATIONS THREADS
//
// Each thread has a folder of its own on either side. Exit code 1 tells of a difference, which is printed with
// the steps that led to it.
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

std::atomic<bool> failed = false;

struct Outcome {
  long long result;
  int reason;  // errno of a failure
  friend bool operator==(const Outcome&, const Outcome&) = default;
};

template <class Call>
Outcome outcome(Call&& call) {
  errno = 0;
  const long long result = call();
  return {result, result < 0 ? errno : 0};
}

// One folder and the files that are open in it.
struct Side {
  std::string folder;
  std::array<int, 4> files{-1, -1, -1, -1};
  [[nodiscard]] std::string operator/(const std::string& name) const { return folder + "/" + name; }
};

std::string content_of(int file) {
  std::string content(1 << 20, '\0');
  const ssize_t got = ::pread(file, content.data(), content.size(), 0);
  if (got < 0) return fmt::format("errno {}", errno);
  content.resize(static_cast<std::size_t>(got));
  return content;
}

std::string content_of(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY);
  if (file < 0) return fmt::format("errno {}", errno);
  std::string content = content_of(file);
  ::close(file);
  return content;
}

// Where two contents differ, or nothing.
std::string difference(const std::string& here, const std::string& there) {
  if (here == there) return {};
  const auto length = std::min(here.size(), there.size());
  const auto at = static_cast<std::size_t>(
      std::mismatch(here.begin(), here.begin() + static_cast<long>(length), there.begin()).first - here.begin());
  return fmt::format("differs from byte {} on: '{:.20}' of {} bytes, expected '{:.20}' of {}", at, here.substr(at),
                     here.size(), there.substr(at), there.size());
}

class Worker {
 public:
  Worker(std::string folder, std::string reference, unsigned seed) : random_(seed) {
    sides_[0].folder = std::move(folder);
    sides_[1].folder = std::move(reference);
    for (const Side& side : sides_) {
      ::mkdir(side.folder.c_str(), 0755);
      for (const char* below : {"d0", "d1"}) ::mkdir((side / below).c_str(), 0755);
    }
  }

  void run(int operations) {
    for (int i = 0; i < operations && !failed; ++i) step();
    for (Side& side : sides_) {
      for (const int file : side.files) ::close(file);
    }
    for (const std::string& name : names_) compare("at the end", name);
  }

 private:
  unsigned below(unsigned limit) { return std::uniform_int_distribution<unsigned>(0, limit - 1)(random_); }
  const std::string& any_name() { return names_[below(static_cast<unsigned>(names_.size()))]; }

  // Makes the call on both sides: what it answers must be the same.
  template <class Call>
  void both(const std::string& what, Call&& call) {
    steps_.push_back(what);
    if (steps_.size() > 60) steps_.pop_front();
    const Outcome here = outcome([&] { return call(sides_[0]); });
    const Outcome there = outcome([&] { return call(sides_[1]); });
    if (here == there) return;
    report(fmt::format("{} gave {} (errno {}), expected {} (errno {})", what, here.result, here.reason, there.result,
                       there.reason));
  }

  void compare(const std::string& what, const std::string& name) {
    const auto size = [&](const Side& side) -> long long {
      struct stat status {};
      return ::stat((side / name).c_str(), &status) == 0 ? status.st_size : -errno;
    };
    if (size(sides_[0]) != size(sides_[1])) {
      report(fmt::format("{}: size of {} is {}, expected {}", what, name, size(sides_[0]), size(sides_[1])));
    }
    const std::string found = difference(content_of(sides_[0] / name), content_of(sides_[1] / name));
    if (!found.empty()) report(fmt::format("{}: {} {}", what, name, found));
  }

  void compare_open(const std::string& what, unsigned slot) {
    const auto size = [&](const Side& side) -> long long {
      struct stat status {};
      return ::fstat(side.files[slot], &status) == 0 ? status.st_size : -errno;
    };
    if (sides_[0].files[slot] < 0) return;
    if (size(sides_[0]) != size(sides_[1])) {
      report(fmt::format("{}: open file {} has {} bytes, expected {}", what, slot, size(sides_[0]), size(sides_[1])));
    }
    const std::string found = difference(content_of(sides_[0].files[slot]), content_of(sides_[1].files[slot]));
    if (!found.empty()) report(fmt::format("{}: open file {} {}", what, slot, found));
  }

  void report(const std::string& difference) {
    std::string text = fmt::format("{}: {}\n", sides_[0].folder, difference);
    for (const std::string& step : steps_) text += "  after " + step + "\n";
    std::fputs(text.c_str(), stdout);
    failed = true;
  }

  void step() {
    const std::string name = any_name();
    const unsigned slot = below(4);
    const std::string what = change(name, slot);
    compare(what, name);
    compare_open(what, slot);
  }

  void reopen(const std::string& name, unsigned slot) {
    constexpr std::array flags{O_RDWR | O_CREAT, O_RDWR | O_CREAT | O_TRUNC, O_RDWR | O_CREAT | O_EXCL,
                               O_RDWR | O_APPEND, O_RDWR};
    const int chosen = flags[below(flags.size())];
    both(fmt::format("close {}", slot),
         [&](Side& side) { return side.files[slot] < 0 ? 0 : ::close(std::exchange(side.files[slot], -1)); });
    both(fmt::format("open {} as {} with {:o}", name, slot, chosen), [&](Side& side) {
      side.files[slot] = ::open((side / name).c_str(), chosen, 0644);
      return side.files[slot] < 0 ? -1 : 0;
    });
  }

  std::string change(const std::string& name, unsigned slot) {
    const off_t at = below(100000);
    const std::string other = any_name();
    const std::string bytes(below(30000), static_cast<char>('a' + below(26)));
    switch (below(12)) {
      case 0:
      case 1:
      case 2:
        both(fmt::format("write {} bytes at {} of {}", bytes.size(), at, slot),
             [&](const Side& side) { return ::pwrite(side.files[slot], bytes.data(), bytes.size(), at); });
        break;
      case 3:
        both(fmt::format("resize {} to {}", slot, at),
             [&](const Side& side) { return ::ftruncate(side.files[slot], at); });
        break;
      case 4:
        both(fmt::format("resize {} to {}", name, at),
             [&](const Side& side) { return ::truncate((side / name).c_str(), at); });
        break;
      case 5:
        both(fmt::format("rename {} to {}", name, other),
             [&](const Side& side) { return ::rename((side / name).c_str(), (side / other).c_str()); });
        compare("rename", other);
        break;
      case 6:
        both(fmt::format("remove {}", name), [&](const Side& side) { return ::unlink((side / name).c_str()); });
        break;
      case 7:
        both(fmt::format("synchronise {}", slot), [&](const Side& side) { return ::fsync(side.files[slot]); });
        break;
      case 8:
        both("swap the folders", [&](const Side& side) {
          return ::rename((side / "d0").c_str(), (side / "d2").c_str()) |
                 ::rename((side / "d1").c_str(), (side / "d0").c_str()) |
                 ::rename((side / "d2").c_str(), (side / "d1").c_str());
        });
        break;
      default:
        reopen(name, slot);
    }
    return steps_.back();
  }

  std::mt19937 random_;
  std::array<Side, 2> sides_;
  std::deque<std::string> steps_;
  std::vector<std::string> names_{"a", "b", "c", "d0/a", "d0/b", "d1/a", "d1/b"};
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) return 2;
  const auto number = [&](int i) { return static_cast<unsigned>(std::strtoul(argv[i], nullptr, 10)); };
  const unsigned threads = number(5);
  const int operations = static_cast<int>(number(4) / threads);
  std::vector<std::thread> running;
  for (unsigned i = 0; i < threads; ++i) {
    running.emplace_back([&, i] {
      Worker(fmt::format("{}/{}", argv[1], i), fmt::format("{}/{}", argv[2], i), number(3) + i).run(operations);
    });
  }
  for (std::thread& thread : running) thread.join();
  return failed ? 1 : 0;
}
