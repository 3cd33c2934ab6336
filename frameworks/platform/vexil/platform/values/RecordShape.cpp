// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/RecordShape.h>

#include <algorithm>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vexil::platform {

using detail::Container;
using detail::Shape;

RecordShape::RecordShape(std::initializer_list<Key> keys)
    : RecordShape(std::span(keys.begin(), keys.size())) {}

RecordShape::RecordShape(std::span<const Key> keys) {
  std::unordered_map<Key, int> seen;
  for (const Key& key : keys) {
    if (!seen.try_emplace(key, 0).second) {
      throw InvalidArgument("a record has the key \"" + std::string(key.text()) + "\" twice");
    }
  }
  _shape = Shape::intern(keys);
}

RecordShape::RecordShape(const RecordShape& other) noexcept = default;
RecordShape::~RecordShape() = default;

Value RecordShape::record(std::span<Value> values) const {
  checkCount(values.size());
  if (std::ranges::any_of(values, &Value::isAbsent)) {
    std::vector<std::pair<Key, Value>> entries;
    for (std::size_t i = 0; i < values.size(); ++i) {
      entries.emplace_back(_shape->keys()[i], std::move(values[i]));
    }
    return Value::dictionary(std::move(entries));
  }
  Container* container = Container::makeRaw(values.size(), _shape);
  std::uninitialized_move(values.begin(), values.end(), container->first());
  return {Value::tagDictionary, container};
}

Value RecordShape::record(std::initializer_list<Value> values) const {
  checkCount(values.size());
  if (std::ranges::any_of(values, &Value::isAbsent)) {
    std::vector<Value> copies(values);
    return record(std::span(copies));
  }
  Container* container = Container::makeRaw(values.size(), _shape);
  std::uninitialized_copy(values.begin(), values.end(), container->first());
  return {Value::tagDictionary, container};
}

void RecordShape::checkCount(std::size_t count) const {
  if (count != _shape->count) {
    throw InvalidArgument("a record needs a value for each of its keys");
  }
}

}  // namespace vexil::platform
