// SPDX-License-Identifier: Apache-2.0
// What a value refers to when its content does not fit into it. Part of <vexil/platform/Value.h>,
// which includes this header for its inline operations. Nothing else may include it.
#pragma once

#include <vexil/platform/Key.h>
#include <vexil/platform/detail/RefCount.h>

#include <atomic>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace vexil::platform::detail {

/// The header of a long string or of data. The bytes follow in the same allocation.
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
/// order share one shape, so comparing addresses is enough. The keys follow in the same allocation.
/// When there are many, a hash table of their positions follows the keys.
struct Shape {
  RefCount references;
  std::uint32_t count;
  std::uint32_t indexMask;  // the number of slots minus one; 0 without a hash table
  std::size_t hash;

  static Reference<Shape> intern(std::span<const Key> keys);
  static void release(const Shape* shape) noexcept;

  [[nodiscard]] std::span<const Key> keys() const {
    return {reinterpret_cast<const Key*>(this + 1), count};
  }
  /// The position of a key; `count` when the shape does not have it.
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

/// The header of an array or a dictionary. The elements or the values follow in the same
/// allocation.
struct Container {
  RefCount references;
  union {
    std::uint32_t ownCount;  // of an array, and of a container about to be destroyed
    mutable std::atomic<std::uint32_t> hint;  // of a dictionary
  };
  union {
    const Shape* shape;   // of a dictionary: its keys, a held reference; null for an array
    Container* nextToGo;  // in the queue of containers to be destroyed
  };

  /// Room for the elements of an array or the values of a dictionary. The caller must construct all
  /// of them, without throwing.
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
