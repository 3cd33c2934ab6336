// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/SingleThreaded.h>

#include <atomic>
#include <cstdint>

namespace platform::detail {

/// A reference count that starts at one and may be shared by threads.
class RefCount {
 public:
  void retain(std::uint32_t times = 1) const noexcept {
    if (isSingleThreaded()) {
      _count.store(_count.load(std::memory_order_relaxed) + times, std::memory_order_relaxed);
    } else {
      _count.fetch_add(times, std::memory_order_relaxed);
    }
  }

  /// True when the caller held the last references and must destroy the object.
  [[nodiscard]] bool release(std::uint32_t times = 1) const noexcept {
    if (isSingleThreaded()) {
      const std::uint32_t left = _count.load(std::memory_order_relaxed) - times;
      _count.store(left, std::memory_order_relaxed);
      return left == 0;
    }
    return _count.fetch_sub(times, std::memory_order_acq_rel) == times;
  }

  /// Whether anybody else may refer to it as well.
  [[nodiscard]] bool isShared() const noexcept {
    return _count.load(std::memory_order_relaxed) > 1;
  }

  /// Takes a reference unless the last one is already gone: for tables that find objects they do
  /// not own.
  [[nodiscard]] bool retainUnlessGone() const noexcept {
    std::uint32_t count = _count.load(std::memory_order_relaxed);
    while (count != 0) {
      if (_count.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel,
                                       std::memory_order_relaxed)) {
        return true;
      }
    }
    return false;
  }

 private:
  mutable std::atomic<std::uint32_t> _count{1};
};

}  // namespace platform::detail
