// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace vexil::platform::detail {

/// The random numbers of this process. They are zero until the first hash is computed, which may
/// happen before the statics of this library are initialised.
struct HashSecret {
  std::atomic<std::uint64_t> first;  // not zero once the numbers are made
  std::atomic<std::uint64_t> second;
  std::atomic<std::uint64_t> third;
  std::atomic<std::uint64_t> factor;  // odd

  static const HashSecret& shared() noexcept;
  void make() noexcept;
};
extern HashSecret theHashSecret;

inline const HashSecret& HashSecret::shared() noexcept {
  if (theHashSecret.first.load(std::memory_order_acquire) == 0) [[unlikely]] {
    theHashSecret.make();
  }
  return theHashSecret;
}

/// Combines both halves of a product. A multiplication of 64 bits to 128 spreads every bit over the
/// whole. Without knowing one of the factors nobody can tell which others give the same result.
[[nodiscard]] inline std::uint64_t folded(std::uint64_t a, std::uint64_t b) noexcept {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// The hash of two hashes, which depends on their order.
[[nodiscard]] inline std::size_t mixedHash(std::size_t first, std::size_t second) noexcept {
  const HashSecret& secret = HashSecret::shared();
  return folded(first ^ secret.first.load(std::memory_order_relaxed),
                second ^ secret.second.load(std::memory_order_relaxed));
}

/// The last step. Without it, similar inputs would have neighbouring hashes.
[[nodiscard]] inline std::size_t finishedHash(std::uint64_t mixed) noexcept {
  const HashSecret& secret = HashSecret::shared();
  return folded(mixed ^ secret.third.load(std::memory_order_relaxed),
                secret.factor.load(std::memory_order_relaxed));
}

[[nodiscard]] inline std::size_t hashOfInteger(std::uint64_t bits) noexcept {
  return finishedHash(mixedHash(bits, 1));  // so that 0 differs from an empty text
}

/// A copy of the random numbers of this process, for loops that hash many short texts.
class HashKeys {
 public:
  HashKeys() noexcept : HashKeys(HashSecret::shared()) {}

  const std::uint64_t first;
  const std::uint64_t second;
  const std::uint64_t third;
  const std::uint64_t factor;

 private:
  explicit HashKeys(const HashSecret& secret) noexcept
      : first(secret.first.load(std::memory_order_relaxed)),
        second(secret.second.load(std::memory_order_relaxed)),
        third(secret.third.load(std::memory_order_relaxed)),
        factor(secret.factor.load(std::memory_order_relaxed)) {}
};

/// The hash of a text, from the bits of a value that holds it as a short string. The two products
/// are independent and run side by side, because a refresh hashes one identifier for each record.
[[nodiscard]] inline std::size_t hashOfShortText(std::uint64_t first, std::uint64_t second,
                                                 std::uint64_t third,
                                                 const HashKeys& keys = {}) noexcept {
  return folded(first ^ keys.first, second ^ keys.second) ^ folded(third ^ keys.third, keys.factor);
}

}  // namespace vexil::platform::detail
