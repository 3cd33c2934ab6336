// SPDX-License-Identifier: Apache-2.0
#pragma once

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

namespace vexil::platform::detail {

/// Whether the process has this thread only. Then counting and locking need no atomic instruction,
/// which costs more than all the rest of copying a value. Returns false when the C library does not
/// say. The result cannot change while a count or a lock is at work: only the one thread can start
/// another.
[[nodiscard]] inline bool isSingleThreaded() noexcept {
#if __has_include(<sys/single_threaded.h>)
  return __libc_single_threaded != 0;
#else
  return false;
#endif
}

}  // namespace vexil::platform::detail
