// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Key.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <initializer_list>
#include <span>

namespace vexil::platform {

/// The keys of many records, looked up once. This is the quick way to make records.
///
///     static const RecordShape shape({"id", "name"});
///     Value record = shape.record({id, name});   // as Value::dictionary({{"id", id}, ...})
class RecordShape {
 public:
  /// The keys, in the order in which `record` takes their values. Throws `InvalidArgument` when a
  /// key occurs twice.
  // NOLINTNEXTLINE(google-explicit-constructor): a list of keys is not a shape by itself
  explicit RecordShape(std::initializer_list<Key> keys);
  explicit RecordShape(std::span<const Key> keys);
  RecordShape(const RecordShape& other) noexcept;
  RecordShape& operator=(RecordShape other) noexcept {
    _shape.swap(other._shape);
    return *this;
  }
  ~RecordShape();

  /// A dictionary of these keys and of `values`, which are moved from. An absent value makes no
  /// entry. Throws `InvalidArgument` when there are more or fewer values than keys.
  [[nodiscard]] Value record(std::span<Value> values) const;
  [[nodiscard]] Value record(std::initializer_list<Value> values) const;

 private:
  void checkCount(std::size_t count) const;

  detail::Reference<detail::Shape> _shape;
};

}  // namespace vexil::platform
