// SPDX-License-Identifier: Apache-2.0
// What random scenes are made of: choices, and what a host puts into its trees.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Object.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// The same seed makes the same choices.
class Choices {
 public:
  explicit Choices(std::uint32_t seed) : _random(seed) {}
  /// `count` must not be 0.
  std::size_t below(std::size_t count) { return _random() % count; }
  bool oneIn(std::size_t count) { return below(count) == 0; }
  std::string text(const char* prefix, std::size_t count) {
    return prefix + std::to_string(below(count));
  }
  template <class T>
  const T& oneOf(const std::vector<T>& all) {
    return all[below(all.size())];
  }
  template <class T>
  void shuffle(std::vector<T>& all) {
    for (std::size_t i = all.size(); i > 1; --i) {
      std::swap(all[i - 1], all[below(i)]);
    }
  }

 private:
  std::mt19937 _random;
};

/// An object that a host has in identifiers and records. It equals all of its number.
class NumberedObject : public vexil::platform::Object {
 public:
  explicit NumberedObject(std::size_t number) : _number(number) {}
  [[nodiscard]] bool isEqual(const Object& other) const override {
    const auto* const object = dynamic_cast<const NumberedObject*>(&other);
    return object != nullptr && object->_number == _number;
  }
  [[nodiscard]] std::size_t hash() const override { return _number; }
  [[nodiscard]] std::string description() const override {
    return "object " + std::to_string(_number);
  }

 private:
  std::size_t _number;
};

/// A host's kind. Its getters throw or not as its record says, and the next call of its label does
/// once what a test asks for.
class HostThing : public KRAVTWVKind<HostThing, KRAVTWVEventVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  inline static std::function<void()> nextLabel;

  [[nodiscard]] vexil::platform::Value uniqueID() const override {
    throwIf("uniqueID throws");
    return KRAVTWVKind::uniqueID();
  }
  [[nodiscard]] vexil::platform::Value label() const override {
    if (const auto then = std::exchange(nextLabel, nullptr)) {
      then();
    }
    throwIf("label throws");
    return KRAVTWVKind::label();
  }
  [[nodiscard]] bool enabled() const override {
    throwIf("enabled throws");
    return KRAVTWVKind::enabled();
  }
  [[nodiscard]] bool isGroup() const override {
    throwIf("isGroup throws");
    return KRAVTWVKind::isGroup();
  }

 private:
  void throwIf(const char* key) const {
    if (representedObject()[key].booleanReading()) {
      throw std::runtime_error(key);
    }
  }
};

}  // namespace test
