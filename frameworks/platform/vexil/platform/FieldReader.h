// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Key.h>
#include <vexil/platform/Value.h>

#include <utility>

namespace vexil::platform {

/// Reads one field of many records. Does the same as `record[key]`, and is quicker when neighbours
/// have the same keys. A reader must not outlive the records it reads.
class FieldReader {
 public:
  explicit FieldReader(Key key) : _key(std::move(key)) {}

  [[nodiscard]] const Value& operator()(const Value& record) noexcept {
    if (record._tag != Value::tagDictionary) {
      return record[_key];
    }
    const auto& container = *record.load<const detail::Container*>();
    if (container.shape != _shape) {
      _shape = container.shape;
      _position = container.shape->find(_key);
    }
    return _position < container.shape->count ? container.values()[_position] : Value::absent();
  }

 private:
  Key _key;
  // Not held. The address could stand for other keys once the records are gone, so the reader must
  // not outlive them.
  const detail::Shape* _shape = nullptr;
  std::uint32_t _position = 0;
};

}  // namespace vexil::platform
