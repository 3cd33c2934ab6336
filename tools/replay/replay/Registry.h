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

/// How a transcript tells objects apart: items by numbers from 1 in the order in which they were
/// first printed, other objects by the name that they were first bound to. It keeps none of them
/// alive, and a number is never given again.
class Registry {
 public:
  [[nodiscard]] std::size_t numberOf(const std::shared_ptr<vexil::platform::Object>& item);

  /// The name stays when the object has one already.
  void name(const std::shared_ptr<vexil::platform::Object>& object, std::string_view name);

  /// Absent when the object was never bound.
  [[nodiscard]] std::optional<std::string> nameOf(const vexil::platform::Object& object) const;

  /// The objects met so far that are still alive.
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
