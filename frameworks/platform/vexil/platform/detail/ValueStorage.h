// SPDX-License-Identifier: Apache-2.0
// What lies behind a value that does not fit into one: a part of <platform/Value.h>, which includes
// it for the sake of the operations that must cost no call. Nothing else does.
#pragma once

#include <vexil/platform/Key.h>
#include <vexil/platform/detail/RefCount.h>

#include <atomic>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace vexil::platform::detail {

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

  static Reference<Shape> intern(std::span<const Key> keys);
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
  union {
    std::uint32_t ownCount;                   // of an array, and of whatever is about to go
    mutable std::atomic<std::uint32_t> hint;  // of a dictionary
  };
  union {
    const Shape* shape;   // of a dictionary, whose keys it holds; null of an array
    Container* nextToGo;  // once nobody refers to it
  };

  /// Room for the elements of an array or the values of a dictionary, which the caller constructs,
  /// all of them and without throwing.
  static Container* makeRaw(std::size_t count, Reference<Shape> shape = {});
  /// An array of absent values.
  static Container* makeAbsent(std::size_t count);
  /// Destroys a container that nobody refers to any more.
  static void discard(Container* container) noexcept;

  [[nodiscard]] std::uint32_t count() const { return shape == nullptr ? ownCount : shape->count; }
  [[nodiscard]] Value* first() { return reinterpret_cast<Value*>(this + 1); }
  [[nodiscard]] std::span<Value> values() { return {first(), count()}; }
  [[nodiscard]] std::span<const Value> values() const {
    return {reinterpret_cast<const Value*>(this + 1), count()};
  }

 private:
  static void destroy(Container* container) noexcept;
};

}  // namespace vexil::platform::detail
