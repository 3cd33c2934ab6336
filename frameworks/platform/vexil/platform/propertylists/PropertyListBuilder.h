// SPDX-License-Identifier: Apache-2.0
// How the readers put containers together: internal to them.
#pragma once

#include <vexil/platform/PropertyList.h>
#include <vexil/platform/Value.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace vexil::platform::detail {

/// Why an input cannot be read at all, going by its length.
[[nodiscard]] std::optional<PropertyListError> errorOfLength(std::span<const std::byte> bytes,
                                                             const PropertyListLimits& limits);

/// The sum of two numbers, or the largest number where it is larger.
[[nodiscard]] constexpr std::uint64_t saturatingSum(std::uint64_t a, std::uint64_t b) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  return a > most - b ? most : a + b;
}

/// A hash of few bytes.
[[nodiscard]] std::uint32_t hashOf(std::span<const std::byte> bytes);

/// How many objects a value may expand to that comes from so many bytes.
[[nodiscard]] std::uint64_t budgetOf(const PropertyListLimits& limits, std::uint64_t bytes);

/// Makes dictionaries. Records with the same keys come by the thousand, so it remembers the shapes
/// of those it made last.
class DictionaryMaker {
 public:
  /// A dictionary with the values moved from; of two values of one key the later one stands.
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

  /// The keys of the dictionary that is open.
  [[nodiscard]] std::span<const Key> keys() const;
  [[nodiscard]] bool isInDictionary() const { return !_open.empty() && _open.back().isDictionary; }

  /// Ends the container that is open; a dictionary where a key may come.
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
  // The contents of all open containers, those of the innermost at the end.
  std::vector<Value> _values;
  std::vector<Key> _keys;
  std::optional<Value> _root;
  DictionaryMaker _dictionaries;
};

}  // namespace vexil::platform::detail
