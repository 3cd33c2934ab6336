// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Object.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace replay {

/// How a transcript tells objects apart. Items have numbers from 1, in the order in which they were
/// first printed; no number is given twice. Other objects have the name that they were first bound
/// to. The registry keeps no object alive.
class Registry {
 public:
  [[nodiscard]] std::size_t numberOf(const std::shared_ptr<vexil::platform::Object>& item);

  /// Names an object. Does nothing when it has a name already.
  void name(const std::shared_ptr<vexil::platform::Object>& object, std::string_view name);

  /// Absent when the object was never bound.
  [[nodiscard]] std::optional<std::string> nameOf(const vexil::platform::Object& object) const;

  /// The objects that were numbered or named and are still alive.
  [[nodiscard]] std::vector<std::shared_ptr<vexil::platform::Object>> survivors() const;

 private:
  struct Known {
    std::weak_ptr<vexil::platform::Object> object;
    std::size_t number = 0;  // 0 when it was never printed
    std::optional<std::string> name;
  };
  Known& known(const std::shared_ptr<vexil::platform::Object>& object);
  void sweep();

  std::unordered_map<const vexil::platform::Object*, Known> _known;
  std::size_t _lastNumber = 0;
  std::size_t _sizeToSweepAt = 1024;
};

}  // namespace replay
