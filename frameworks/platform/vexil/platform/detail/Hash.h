// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vexil::platform {

/// The hash of a string's bytes: that of a key, and that of a string value.
///
/// Like every hash of texts, numbers and values it depends on random numbers of this process, so
/// that nobody outside can make up texts that collide. It is another one in the next process:
/// nothing that is shown, stored or sent may depend on it.
[[nodiscard]] std::size_t hashOfText(std::string_view text) noexcept;

/// For unordered containers of texts, in place of `std::hash`, whose collisions anybody can
/// compute.
struct HashOfText {
  using is_transparent = void;
  // Not noexcept: the standard library then keeps the hashes with the elements.
  // NOLINTNEXTLINE(modernize-use-noexcept)
  std::size_t operator()(std::string_view text) const { return hashOfText(text); }
};

namespace detail {

/// The random numbers of this process. Zero until somebody hashes for the first time, which may be
/// before the statics of this library are initialised.
struct HashSecret {
  std::atomic<std::uint64_t> first;  // not zero once there are any
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

/// Both halves of a product: multiplications of 64 bits to 128 spread every bit over the whole.
/// Whoever does not know one of the factors cannot tell which others give the same.
[[nodiscard]] inline std::uint64_t folded(std::uint64_t a, std::uint64_t b) noexcept {
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// The hash of two in their order.
[[nodiscard]] inline std::size_t mixedHash(std::size_t first, std::size_t second) noexcept {
  const HashSecret& secret = HashSecret::shared();
  return folded(first ^ secret.first.load(std::memory_order_relaxed),
                second ^ secret.second.load(std::memory_order_relaxed));
}

/// The last step, without which neighbours would lie in a row.
[[nodiscard]] inline std::size_t finishedHash(std::uint64_t mixed) noexcept {
  const HashSecret& secret = HashSecret::shared();
  return folded(mixed ^ secret.third.load(std::memory_order_relaxed),
                secret.factor.load(std::memory_order_relaxed));
}

[[nodiscard]] inline std::size_t hashOfInteger(std::uint64_t bits) noexcept {
  return finishedHash(mixedHash(bits, 1));  // and 0 is no empty text
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

/// The hash of a text from the bits of a value that holds it as a short string. Two products side
/// by side, as refreshes hash an identifier for each record.
[[nodiscard]] inline std::size_t hashOfShortText(std::uint64_t first, std::uint64_t second,
                                                 std::uint64_t third,
                                                 const HashKeys& keys = {}) noexcept {
  return folded(first ^ keys.first, second ^ keys.second) ^ folded(third ^ keys.third, keys.factor);
}

}  // namespace detail

}  // namespace vexil::platform
