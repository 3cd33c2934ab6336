// SPDX-License-Identifier: Apache-2.0
#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

namespace vexil::platform::detail {

/// Whether the process has this one thread, so that counting and locking need no atomic
/// instruction: those cost more than all the rest of copying a value. False where the C library
/// does not say. It can turn only while nobody counts or holds a lock, as a thread is started by
/// another.
[[nodiscard]] inline bool isSingleThreaded() noexcept {
#if __has_include(<sys/single_threaded.h>)
  return __libc_single_threaded != 0;
#else
  return false;
#endif
}

}  // namespace vexil::platform::detail
