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

  /// Returns true when these were the last references. The caller must then destroy the object.
  [[nodiscard]] bool release(std::uint32_t times = 1) const noexcept {
    if (isSingleThreaded()) {
      const std::uint32_t left = _count.load(std::memory_order_relaxed) - times;
      _count.store(left, std::memory_order_relaxed);
      return left == 0;
    }
    return _count.fetch_sub(times, std::memory_order_acq_rel) == times;
  }

  /// Whether there may be other references than the caller's.
  [[nodiscard]] bool isShared() const noexcept {
    return _count.load(std::memory_order_relaxed) > 1;
  }

  /// Takes a reference and returns true, unless the last one is gone already. For tables that find
  /// objects which they do not own.
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

/// Takes a reference to a thing that has a `RefCount references`, and gives it back. The class of
/// the thing destroys it with its last reference, in `release(const T*)`. A class that is
/// incomplete where it is referred to has overloads of these two functions instead.
template <class T>
void retain(const T* thing) noexcept {
  thing->references.retain();
}
template <class T>
void release(const T* thing) noexcept {
  T::release(thing);
}

/// Owns one reference to a thing, or none, and gives it back whatever is thrown.
template <class T>
class Reference {
 public:
  Reference() noexcept = default;
  /// Takes over a reference that the caller owns.
  explicit Reference(const T* owned) noexcept : _referred(owned) {}
  Reference(const Reference& other) noexcept : _referred(other._referred) {
    if (_referred != nullptr) {
      retain(_referred);
    }
  }
  Reference(Reference&& other) noexcept : _referred(other.handOver()) {}
  Reference& operator=(Reference other) noexcept {
    swap(other);
    return *this;
  }
  ~Reference() {
    if (_referred != nullptr) {
      release(_referred);
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
