// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Error.h>
#include <vexil/platform/KeyTable.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Value.h>

namespace vexil::platform {

/// Turns values into others, for display mostly: what stands between a value of a record and the
/// view that shows it.
///
///     class Spelled : public ValueTransformer {
///      public:
///       Value::Kind transformedValueClass() const override { return Value::Kind::string; }
///       bool allowsReverseTransformation() const override { return false; }
///       Value transformedValue(const Value& value) const override { return value.displayText(); }
///     };
///
/// `transformedValueClass` and `allowsReverseTransformation` are class operations: their answers
/// depend on the receiver's class alone. A transformer takes whatever value it is handed; what it
/// makes of one it is not meant for is its own to say. Properties that a transformer has are
/// observed and reached by key as those of any other object.
class ValueTransformer : public Observable {
 public:
  /// The kind of all the values that `transformedValue` yields.
  [[nodiscard]] virtual Value::Kind transformedValueClass() const = 0;

  /// Whether `reverseTransformedValue` may be asked; true, unless a class says otherwise.
  [[nodiscard]] virtual bool allowsReverseTransformation() const { return true; }

  [[nodiscard]] virtual Value transformedValue(const Value& value) const = 0;

  /// The value that `transformedValue` makes this one of. What a class does not override is its own
  /// reverse and transforms here, too. Raises `InvalidArgument` when the class does not allow it.
  [[nodiscard]] virtual Value reverseTransformedValue(const Value& value) const {
    if (!allowsReverseTransformation()) {
      throw InvalidArgument(className() + " transforms in one direction only");
    }
    return transformedValue(value);
  }

 protected:
  /// No keys, unless a class has some.
  [[nodiscard]] const KeyTable& keyTable() const override {
    static const KeyTable none(nullptr, {});
    return none;
  }
};

}  // namespace vexil::platform
