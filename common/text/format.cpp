#include "common/text/format.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <new>

// The formats are the callers'; no attribute could check them through a string object.
#if defined(__clang__)
#pragma clang diagnostic ignored "-Wformat-nonliteral"
#endif

namespace {

// The formatter counts in int: an output and its terminator never need more.
constexpr std::size_t longest_buffer = std::size_t{INT_MAX} + 1;

// Called after an error of the formatter: lack of memory is no fault of the format.
void throw_if_out_of_memory() {
  if (errno == ENOMEM) throw std::bad_alloc();
}

struct WideAttempt {
  int length;            // negative when it failed
  bool ran_out_of_room;  // that is why
};

// Formats into all of `buffer`. The wide formatter has one answer, a negative count, for a buffer that is too small
// and for arguments that it can't format, and errno tells them apart on some systems only. The buffer does on all:
// only a formatter that ran out of room has filled it to its end. Of two marks for what it has not reached, one at
// least differs from what it may have written there.
WideAttempt format_into(std::wstring& buffer, const std::wstring& format, va_list arguments) {
  const int callers_errno = errno;
  for (const wchar_t unwritten : {L'\0', L'\1'}) {
    std::fill(buffer.begin(), buffer.end(), unwritten);
    errno = callers_errno;
    va_list attempt;
    va_copy(attempt, arguments);
    const int length = std::vswprintf(buffer.data(), buffer.size(), format.c_str(), attempt);
    va_end(attempt);
    const bool is_full = buffer[buffer.size() - 2] != unwritten;  // the last place is the terminator's
    if (length >= 0 || is_full) return {length, is_full};
  }
  return {-1, false};
}

}  // namespace

std::string string_format(std::string format, ...) {
  const int callers_errno = errno;  // an argument of the format where the system knows "%m"
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(nullptr, 0, format.c_str(), arguments);
  va_end(arguments);
  if (length < 0) {
    throw_if_out_of_memory();
    return {};
  }

  std::string text(static_cast<std::size_t>(length), '\0');
  errno = callers_errno;
  va_start(arguments, format);
  const int written = std::vsnprintf(text.data(), text.size() + 1, format.c_str(), arguments);
  va_end(arguments);
  if (written < 0) {
    throw_if_out_of_memory();
    return {};
  }
  text.resize(std::strlen(text.c_str()));
  return text;
}

std::wstring wstring_format(std::wstring format, ...) {
  const int callers_errno = errno;
  std::wstring buffer;
  for (std::size_t size = format.size() + 256;; size = std::min(size * 4, longest_buffer)) {
    buffer.resize(size);
    errno = callers_errno;
    va_list arguments;
    va_start(arguments, format);
    const auto [length, ran_out_of_room] = format_into(buffer, format, arguments);
    va_end(arguments);
    if (length >= 0) return std::wstring(buffer.c_str());
    if (!ran_out_of_room) throw_if_out_of_memory();
    if (!ran_out_of_room || size >= longest_buffer) return {};
  }
}
