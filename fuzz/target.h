// What every target is made of: a subject that takes any bytes and checks what must hold for all of them.
//
// Inputs are texts of lines, so that a corpus can be read and written by hand: a target says which line means what.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace fuzz {

[[noreturn]] inline void broken(const char* file, int line, const char* promise) {
  std::fprintf(stderr, "%s:%d: not so: %s\n", file, line, promise);
  std::abort();
}

class Input {
 public:
  explicit Input(std::string_view bytes) : left_(bytes) {}

  // What stands before the next line feed; all that is left when there is none.
  std::string line() {
    const std::size_t end = left_.find('\n');
    std::string text(left_.substr(0, end));
    left_.remove_prefix(end == std::string_view::npos ? left_.size() : end + 1);
    return text;
  }
  std::string rest() { return std::string(left_); }

 private:
  std::string_view left_;
};

// For namespace scope: the replaying program finds a subject by its name.
using Subject = void (*)(Input);
int add(const char* name, Subject subject);

}  // namespace fuzz

#define HOLDS(promise) ((promise) ? static_cast<void>(0) : fuzz::broken(__FILE__, __LINE__, #promise))

#if defined(LOCALDISK_FUZZING)
#define FUZZ_TARGET(name)                                                             \
  static void fuzz_##name(fuzz::Input input);                                         \
  extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) { \
    fuzz_##name(fuzz::Input({reinterpret_cast<const char*>(data), size}));            \
    return 0;                                                                         \
  }                                                                                   \
  static void fuzz_##name(fuzz::Input input)
#else
#define FUZZ_TARGET(name)                                                                \
  static void fuzz_##name(fuzz::Input input);                                            \
  [[maybe_unused]] static const int fuzz_##name##_added = fuzz::add(#name, fuzz_##name); \
  static void fuzz_##name(fuzz::Input input)
#endif
