// What programs have open on the drive, for libfuse by number.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace host {

// Owns each handle from its opening to its release, or to the end of the drive: that may come first, for the kernel
// tells of the last close when nobody waits for it any more.
template <class Handle>
class OpenHandles {
 public:
  // Answers the handle's number, which is never that of another one that is open.
  std::uint64_t keep(std::unique_ptr<Handle> handle) {
    const auto number = reinterpret_cast<std::uint64_t>(handle.get());
    const std::lock_guard guard(lock_);
    handles_.emplace(number, std::move(handle));
    return number;
  }

  // The two below take a number that keep gave and release has not taken.
  static Handle& at(std::uint64_t number) { return *reinterpret_cast<Handle*>(number); }

  std::unique_ptr<Handle> release(std::uint64_t number) {
    const std::lock_guard guard(lock_);
    return std::move(handles_.extract(number).mapped());
  }

 private:
  std::mutex lock_;
  std::unordered_map<std::uint64_t, std::unique_ptr<Handle>> handles_;
};

}  // namespace host
