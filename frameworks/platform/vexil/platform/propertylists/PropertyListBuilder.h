// SPDX-License-Identifier: Apache-2.0
// Internal to the readers: how they put containers together.
#pragma once

#include <vexil/platform/PropertyList.h>
#include <vexil/platform/RecordShape.h>
#include <vexil/platform/Value.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace vexil::platform::detail {

/// The error when the length of an input alone makes it unreadable.
[[nodiscard]] std::optional<PropertyListError> errorOfLength(std::span<const std::byte> bytes,
                                                             const PropertyListLimits& limits);

/// The sum of two numbers, or the largest number when the sum is larger.
[[nodiscard]] constexpr std::uint64_t saturatingSum(std::uint64_t a, std::uint64_t b) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return a > most - b ? most : a + b;
}

/// A hash of bytes, cut to 32 bits.
[[nodiscard]] std::uint32_t hashOf(std::span<const std::byte> bytes);

/// How many objects a value may expand to when it comes from so many bytes.
[[nodiscard]] std::uint64_t budgetOf(const PropertyListLimits& limits, std::uint64_t bytes);

/// Makes dictionaries. Records with the same keys come by the thousand, so it remembers the shapes
/// of the dictionaries it made last.
class DictionaryMaker {
 public:
  /// A dictionary of `keys` and `values`. The values are moved from. When a key occurs twice, the
  /// later value stands.
  Value make(std::span<const Key> keys, std::span<Value> values);

 private:
  struct Known {
    Value example;
    std::optional<RecordShape> shape;
  };
  std::array<Known, 16> _known;
};

/// The first key that occurs a second time.
[[nodiscard]] std::optional<Key> repeatedKey(std::span<const Key> keys);

/// Builds a value from the beginnings and ends of its containers, as they come in a text.
class PropertyListBuilder {
 public:
  /// What may come next.
  enum class Place { root, element, key, value, end };

  [[nodiscard]] Place place() const;
  [[nodiscard]] std::size_t depth() const { return _open.size(); }

  void beginArray() { _open.push_back({_values.size(), _keys.size(), false}); }
  void beginDictionary() { _open.push_back({_values.size(), _keys.size(), true}); }
  void addKey(Key key) { _keys.push_back(std::move(key)); }
  void add(Value value);

  /// The keys of the innermost open container, which must be a dictionary.
  [[nodiscard]] std::span<const Key> keys() const;
  [[nodiscard]] bool isInDictionary() const { return !_open.empty() && _open.back().isDictionary; }

  /// Ends the innermost open container. In a dictionary, `place` must be `key`.
  void end();

  /// The finished value.
  [[nodiscard]] Value take() { return std::move(*_root); }

 private:
  struct Open {
    std::size_t firstValue;
    std::size_t firstKey;
    bool isDictionary;
  };
  std::vector<Open> _open;
  // The contents of all open containers, the innermost one's at the end.
  std::vector<Value> _values;
  std::vector<Key> _keys;
  std::optional<Value> _root;
  DictionaryMaker _dictionaries;
};

}  // namespace vexil::platform::detail
