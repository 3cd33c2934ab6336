// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/detail/SingleThreaded.h>

#include <atomic>
#include <thread>

namespace vexil::platform::detail {

/// A lock of one byte, for the few instructions that copy or swap one property. No foreign code may
/// run while it is held.
class SpinLock {
 public:
  void lock() noexcept {
    if (isSingleThreaded()) {
      return;  // `unlock` then changes nothing
    }
    for (int tries = 0; _held.exchange(true, std::memory_order_acquire); ++tries) {
      if (tries > 64) {
        std::this_thread::yield();
      }
    }
  }
  void unlock() noexcept { _held.store(false, std::memory_order_release); }

 private:
  std::atomic<bool> _held{false};
};

}  // namespace vexil::platform::detail
