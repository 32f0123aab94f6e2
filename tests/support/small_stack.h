// Runs what hosts run on threads of little stack.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kSmallStack = 1024UL * 1024;  // the checkers' own share is large
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr std::size_t kSmallStack = 1024UL * 1024;
#else
constexpr std::size_t kSmallStack = 256UL * 1024;
#endif
#else
constexpr std::size_t kSmallStack = 256UL * 1024;
#endif

inline void run_in_small_stack(std::function<void()> body) {
  pthread_attr_t attributes;
  ::pthread_attr_init(&attributes);
  ::pthread_attr_setstacksize(&attributes, kSmallStack);
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
