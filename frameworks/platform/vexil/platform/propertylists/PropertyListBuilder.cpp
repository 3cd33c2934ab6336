// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Hash.h>
#include <vexil/platform/propertylists/PropertyListBuilder.h>

#include <algorithm>
#include <string>
#include <unordered_set>
#include <utility>

namespace vexil::platform::detail {

std::optional<PropertyListError> errorOfLength(std::span<const std::byte> bytes,
                                               const PropertyListLimits& limits) {
  using Code = PropertyListError::Code;
  if (bytes.empty()) {
    return PropertyListError{Code::noBytes, "there are no bytes"};
  }
  if (bytes.size() > limits.inputBytes) {
    return PropertyListError{
        Code::tooLong, "the input is longer than " + std::to_string(limits.inputBytes) + " bytes"};
  }
  return std::nullopt;
}

std::uint32_t hashOf(std::span<const std::byte> bytes) {
  return static_cast<std::uint32_t>(
      hashOfText({reinterpret_cast<const char*>(bytes.data()), bytes.size()}));
}

std::uint64_t budgetOf(const PropertyListLimits& limits, std::uint64_t bytes) {
  constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t perByte = limits.expandedObjectsPerByte;
  return saturatingSum(limits.expandedObjects,
                       bytes != 0 && perByte > most / bytes ? most : perByte * bytes);
}

Value DictionaryMaker::make(std::span<const Key> keys, std::span<Value> values) {
  std::size_t hash = keys.size();
  for (const Key& key : keys) {
    hash = mixedHash(hash, key.hash());
  }
  Known& known = _known[hash % _known.size()];
  if (std::ranges::equal(known.example.keys(), keys)) {
    // The example is a dictionary, or there are no keys. An empty shape also fits when there are no
    // keys.
    if (!known.shape) {
      known.shape.emplace(keys);
    }
    return known.shape->record(values);
  }
  std::vector<std::pair<Key, Value>> entries;
  entries.reserve(keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    entries.emplace_back(keys[i], std::move(values[i]));
  }
  known.shape.reset();
  return known.example = Value::dictionary(std::move(entries));
}

std::optional<Key> repeatedKey(std::span<const Key> keys) {
  constexpr std::size_t few = 16;
  if (keys.size() <= few) {
    for (auto key = keys.begin(); key != keys.end(); ++key) {
      if (std::find(keys.begin(), key, *key) != key) {
        return *key;
      }
    }
    return std::nullopt;
  }
  std::unordered_set<Key> seen(keys.size());
  for (const Key& key : keys) {
    if (!seen.insert(key).second) {
      return key;
    }
  }
  return std::nullopt;
}

PropertyListBuilder::Place PropertyListBuilder::place() const {
  if (_open.empty()) {
    return _root ? Place::end : Place::root;
  }
  const Open& open = _open.back();
  if (!open.isDictionary) {
    return Place::element;
  }
  return _keys.size() - open.firstKey == _values.size() - open.firstValue ? Place::key
                                                                          : Place::value;
}

void PropertyListBuilder::add(Value value) {
  if (_open.empty()) {
    _root = std::move(value);
  } else {
    _values.push_back(std::move(value));
  }
}

std::span<const Key> PropertyListBuilder::keys() const {
  return std::span(_keys).subspan(_open.back().firstKey);
}

void PropertyListBuilder::end() {
  const Open open = _open.back();
  const auto contents = std::span(_values).subspan(open.firstValue);
  Value container =
      open.isDictionary ? _dictionaries.make(keys(), contents) : Value::array(contents);
  _keys.erase(_keys.begin() + static_cast<std::ptrdiff_t>(open.firstKey), _keys.end());
  _values.erase(_values.begin() + static_cast<std::ptrdiff_t>(open.firstValue), _values.end());
  _open.pop_back();
  add(std::move(container));
}

}  // namespace vexil::platform::detail
