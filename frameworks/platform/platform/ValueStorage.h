// SPDX-License-Identifier: Apache-2.0
// What lies behind a value that does not fit into one: internal to the value's own sources.
#pragma once

#include <platform/RefCount.h>
#include <platform/Value.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace platform::detail {

/// The bytes of a long string or of data; they follow in the same allocation.
struct Bytes {
  RefCount references;
  std::size_t length;

  static const Bytes* make(const void* bytes, std::size_t length);
  static void discard(const Bytes* bytes) noexcept;
  [[nodiscard]] std::string_view text() const {
    return {reinterpret_cast<const char*>(this + 1), length};
  }
};

/// The keys of a dictionary in their order, interned: dictionaries with the same keys in the same
/// order share one shape, and know it by its address. The keys follow in the same allocation, and
/// behind them, when there are many, a hash table of their positions.
struct Shape {
  RefCount references;
  std::uint32_t count;
  std::uint32_t indexMask;  // slots of the hash table less one; 0 without a table
  std::size_t hash;

  static const Shape* intern(std::span<const Key> keys);
  static void release(const Shape* shape) noexcept;

  [[nodiscard]] std::span<const Key> keys() const {
    return {reinterpret_cast<const Key*>(this + 1), count};
  }
  /// The position of a key; `count` when it is not there.
  [[nodiscard]] std::uint32_t find(const Key& key) const noexcept;
  [[nodiscard]] std::uint32_t find(std::string_view key) const noexcept;

 private:
  friend struct ShapeTable;
  explicit Shape(std::span<const Key> keys, std::size_t hash);
  static constexpr std::uint32_t linearLimit = 12;
  static std::uint32_t slotsFor(std::size_t count);
  static std::size_t allocationSize(std::size_t count);
  [[nodiscard]] const std::uint32_t* index() const {
    return reinterpret_cast<const std::uint32_t*>(keys().data() + count);
  }
};

/// The elements of an array or the values of a dictionary; they follow in the same allocation.
struct Container {
  RefCount references;
  std::uint32_t count;
  union {
    const Shape* shape;   // of a dictionary, whose keys it holds; null of an array
    Container* nextToGo;  // once nobody refers to it
  };

  /// Room for `count` values, all absent.
  static Container* make(std::size_t count, const Shape* shape);
  /// One with these values, moved from.
  static Container* make(std::span<Value> values, const Shape* shape);
  static void release(Container* container) noexcept;

  [[nodiscard]] std::span<Value> values() { return {reinterpret_cast<Value*>(this + 1), count}; }
  [[nodiscard]] std::span<const Value> values() const {
    return {reinterpret_cast<const Value*>(this + 1), count};
  }

 private:
  static void destroy(Container* container) noexcept;
};

}  // namespace platform::detail
