// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace platform::detail {

/// A reference count that starts at one and may be shared by threads.
class RefCount {
 public:
  void retain() const noexcept { _count.fetch_add(1, std::memory_order_relaxed); }

  /// True when the caller held the last reference and must destroy the object.
  [[nodiscard]] bool release() const noexcept {
    return _count.fetch_sub(1, std::memory_order_acq_rel) == 1;
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
