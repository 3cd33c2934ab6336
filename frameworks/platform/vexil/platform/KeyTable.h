// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Key.h>
#include <vexil/platform/Value.h>

#include <vector>

namespace vexil::platform {

class Observable;

/// How one property of a class is read and set by its key. Either may be missing.
struct KeyAccess {
  Key key;
  Value (*get)(const Observable& object) = nullptr;
  void (*set)(Observable& object, const Value& value) = nullptr;

  /// A property with a getter that returns something a `Value` can be made of.
  template <auto Getter>
  static KeyAccess readOnly(const Key& key) {
    return {key, &read<Getter>, nullptr};
  }
  /// The same with a setter that takes a value.
  template <auto Getter, auto Setter>
  static KeyAccess readWrite(const Key& key) {
    return {key, &read<Getter>, &write<Setter>};
  }
  /// An input that can only be set.
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
/// A class makes its table once and hands it out by overriding `Observable::keyTable`. An entry
/// hides the base class's entry of the same key.
class KeyTable {
 public:
  KeyTable(const KeyTable* base, std::vector<KeyAccess> own) : _base(base), _own(std::move(own)) {}

  /// The access to a key; null when neither the class nor a base class has it.
  [[nodiscard]] const KeyAccess* find(const Key& key) const noexcept;

 private:
  const KeyTable* _base;
  std::vector<KeyAccess> _own;
};

}  // namespace vexil::platform
