// Runs what hosts run on threads of little stack.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool stack_is_checked = true;
#elif defined(__has_feature)
constexpr bool stack_is_checked = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool stack_is_checked = false;
#endif
constexpr std::size_t small_stack_size =
    (stack_is_checked ? 1024UL : 256UL) * 1024;  // the sanitizers' own share is large

inline void run_in_small_stack(std::function<void()> body) {
  pthread_attr_t attributes;
  ::pthread_attr_init(&attributes);
  ::pthread_attr_setstacksize(&attributes, small_stack_size);
  pthread_t thread{};
  const auto start = [](void* argument) -> void* {
    (*static_cast<std::function<void()>*>(argument))();
    return nullptr;
  };
  const int failed = ::pthread_create(&thread, &attributes, start, &body);
  ::pthread_attr_destroy(&attributes);
  if (failed != 0) throw std::runtime_error("no thread to be had");
  ::pthread_join(thread, nullptr);
}
