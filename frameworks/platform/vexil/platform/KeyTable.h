// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Key.h>
#include <vexil/platform/Value.h>

#include <vector>

namespace vexil::platform {

class Observable;

/// How one property of a class is read and set by its key. The getter or the setter may be absent.
struct KeyAccess {
  Key key;
  Value (*get)(const Observable& object) = nullptr;
  void (*set)(Observable& object, const Value& value) = nullptr;

  /// A property with a getter. `Value` must be constructible from what the getter returns.
  template <auto Getter>
  static KeyAccess readOnly(const Key& key) {
    return {key, &read<Getter>, nullptr};
  }
  /// A property with such a getter and with a setter that takes a `Value`.
  template <auto Getter, auto Setter>
  static KeyAccess readWrite(const Key& key) {
    return {key, &read<Getter>, &write<Setter>};
  }
  /// A property that can only be set.
  template <auto Setter>
  static KeyAccess writeOnly(const Key& key) {
    return {key, nullptr, &write<Setter>};
  }

 private:
  template <class Class, class Result, class... Arguments>
  static Class classOf(Result (Class::*)(Arguments...));
  template <class Class, class Result, class... Arguments>
  static Class classOf(Result (Class::*)(Arguments...) const);

  template <auto Getter>
  static Value read(const Observable& object) {
    using Class = decltype(classOf(Getter));
    return Value((static_cast<const Class&>(object).*Getter)());
  }
  template <auto Setter>
  static void write(Observable& object, const Value& value) {
    using Class = decltype(classOf(Setter));
    (static_cast<Class&>(object).*Setter)(value);
  }
};

/// The keys of a class: its own, then those of its base class.
///
/// A class makes its table once and returns it from its override of `Observable::keyTable`. An
/// entry hides the entry of the base class with the same key.
class KeyTable {
 public:
  KeyTable(const KeyTable* base, std::vector<KeyAccess> own) : _base(base), _own(std::move(own)) {}

  /// Returns null when neither the class nor a base class has the key.
  [[nodiscard]] const KeyAccess* find(const Key& key) const noexcept;

 private:
  const KeyTable* _base;
  std::vector<KeyAccess> _own;
};

}  // namespace vexil::platform
