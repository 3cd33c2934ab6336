// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/detail/SingleThreaded.h>

#include <atomic>
#include <cstdint>
#include <utility>

namespace vexil::platform::detail {

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

/// Owns one reference to something that is counted by hand, so that it comes back whatever is
/// thrown. Such a thing has a `RefCount references`, and `release(const T*)` gives a reference back
/// and destroys the thing with the last.
template <class T>
class Reference {
 public:
  Reference() noexcept = default;
  /// Takes over a reference that the caller owns.
  explicit Reference(const T* owned) noexcept : _referred(owned) {}
  Reference(const Reference& other) noexcept : _referred(other._referred) {
    if (_referred != nullptr) {
      _referred->references.retain();
    }
  }
  Reference(Reference&& other) noexcept : _referred(other.handOver()) {}
  Reference& operator=(Reference other) noexcept {
    swap(other);
    return *this;
  }
  ~Reference() {
    if (_referred != nullptr) {
      T::release(_referred);
    }
  }

  [[nodiscard]] const T* get() const noexcept { return _referred; }
  const T* operator->() const noexcept { return _referred; }
  explicit operator bool() const noexcept { return _referred != nullptr; }

  /// The caller owns the reference from now on.
  [[nodiscard]] const T* handOver() noexcept { return std::exchange(_referred, nullptr); }
  void swap(Reference& other) noexcept { std::swap(_referred, other._referred); }

 private:
  const T* _referred = nullptr;
};

}  // namespace vexil::platform::detail
