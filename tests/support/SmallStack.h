// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <cstddef>
#include <exception>
#include <system_error>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TERNWOODVEXIL_TEST_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TERNWOODVEXIL_TEST_SANITIZED 1
#endif

namespace test {

/// How deep the nesting tests go. At 16 bytes of stack a level, recursion over this would need ten
/// times the stack that `runOnSmallStack` gives.
inline constexpr std::size_t deepNesting = 100'000;

#ifdef TERNWOODVEXIL_TEST_SANITIZED
inline constexpr std::size_t smallStackSize = std::size_t{512} * 1024;  // frames are far larger
#else
inline constexpr std::size_t smallStackSize = std::size_t{128} * 1024;
#endif

/// Runs `body` to its end on a thread with a stack too small for code that recurses once for each
/// level of a deep value or tree. Throws what `body` throws.
template <class Body>
void runOnSmallStack(Body body) {
  struct Run {
    Body& body;
    std::exception_ptr thrown;
  } run{body, nullptr};
  const auto check = [](int error) {
    if (error != 0) {
      throw std::system_error(error, std::generic_category(), "a thread with a small stack");
    }
  };
  pthread_attr_t attributes;
  check(pthread_attr_init(&attributes));
  check(pthread_attr_setstacksize(&attributes, smallStackSize));
  pthread_t thread{};
  const auto perform = [](void* argument) -> void* {
    auto& running = *static_cast<Run*>(argument);
    try {
      running.body();
    } catch (...) {
      running.thrown = std::current_exception();
    }
    return nullptr;
  };
  check(pthread_create(&thread, &attributes, perform, &run));
  pthread_attr_destroy(&attributes);
  check(pthread_join(thread, nullptr));
  if (run.thrown) {
    std::rethrow_exception(run.thrown);
  }
}

}  // namespace test
