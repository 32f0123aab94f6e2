// Where exceptions end: the host is built apart and must not meet one.
#pragma once

#include <cxxabi.h>

#include <type_traits>

namespace localdisk {

// What `body` answers, or `failed` when it throws. Whatever `body` held is released by then.
//
// A thread that is cancelled, or that ends itself in a host's callback, is no failure. Where the C library unwinds
// the stack of such a thread and the C++ library lets it pass, everything is released and the thread ends: that is
// glibc with libstdc++. On macOS nothing is unwound, so that what the operation held stays held; and libc++ on Linux
// can't let the end of a thread pass a handler, and ends the process.
template <class Failed, class Body>
auto catch_all(Failed failed, Body&& body) -> std::common_type_t<Failed, std::invoke_result_t<Body>> {
  try {
    return body();
#if defined(__GLIBCXX__)
  } catch (const abi::__forced_unwind&) {
    throw;
#endif
  } catch (...) {  // exhausted memory, or whatever a host's callback threw: the answer is the report
    return failed;
  }
}

}  // namespace localdisk
