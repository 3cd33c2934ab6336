// SPDX-License-Identifier: Apache-2.0
// Internal to the binary reader and writer: big-endian numbers.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vexil::platform::detail {

/// The number with its bytes in reverse order. Compilers make one instruction of this form, but not
/// of a loop.
constexpr std::uint64_t swapped(std::uint64_t number) {
  return number >> 56 | (number >> 40 & 0xFF00) | (number >> 24 & 0xFF0000) |
         (number >> 8 & 0xFF000000) | (number & 0xFF000000) << 8 | (number & 0xFF0000) << 24 |
         (number & 0xFF00) << 40 | number << 56;
}

constexpr std::uint64_t bigEndian(std::uint64_t number) {
  return std::endian::native == std::endian::big ? number : swapped(number);
}

/// The number that eight bytes stand for.
inline std::uint64_t numberOfEightAt(const std::byte* bytes) {
  std::uint64_t number = 0;
  std::memcpy(&number, bytes, sizeof number);
  return bigEndian(number);
}

/// Writes the last `size` bytes of a number and returns the position behind them.
template <std::size_t size>
std::byte* putNumber(std::byte* to, std::uint64_t number) {
  const std::uint64_t bytes = bigEndian(number << (64 - 8 * size));
  std::memcpy(to, &bytes, size);
  return to + size;
}

}  // namespace vexil::platform::detail
