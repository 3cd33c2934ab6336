// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Error.h>
#include <vexil/platform/KeyTable.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Value.h>

namespace vexil::platform {

/// Turns values into others, mostly for display: it stands between a value of a record and the view
/// that shows it.
///
///     class Spelled : public ValueTransformer {
///      public:
///       Value::Kind transformedValueClass() const override { return Value::Kind::string; }
///       bool allowsReverseTransformation() const override { return false; }
///       Value transformedValue(const Value& value) const override { return value.displayText(); }
///     };
///
/// `transformedValueClass` and `allowsReverseTransformation` are class operations: their results
/// depend on the receiver's class alone. A transformer accepts any value. Each class says what it
/// returns for values that it is not meant for. The properties of a transformer are observed and
/// reached by key like those of any other object.
class ValueTransformer : public Observable {
 public:
  /// The kind of all values that `transformedValue` returns.
  [[nodiscard]] virtual Value::Kind transformedValueClass() const = 0;

  /// Whether `reverseTransformedValue` may be called. The default returns true.
  [[nodiscard]] virtual bool allowsReverseTransformation() const { return true; }

  [[nodiscard]] virtual Value transformedValue(const Value& value) const = 0;

  /// Returns the value from which `transformedValue` makes `value`. The default calls
  /// `transformedValue`: that is right for a class that is its own reverse. Throws
  /// `InvalidArgument` when the class does not allow reverse transformation.
  [[nodiscard]] virtual Value reverseTransformedValue(const Value& value) const {
    if (!allowsReverseTransformation()) {
      throw InvalidArgument(className() + " transforms in one direction only");
    }
    return transformedValue(value);
  }

 protected:
  /// The default returns a table without keys.
  [[nodiscard]] const KeyTable& keyTable() const override {
    static const KeyTable none(nullptr, {});
    return none;
  }
};

}  // namespace vexil::platform
