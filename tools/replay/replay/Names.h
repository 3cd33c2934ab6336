// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Registry.h>
#include <vexil/platform/Hash.h>
#include <vexil/platform/Value.h>

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace replay {

/// The values that a scenario has bound to names. Between two steps the tool holds no other
/// reference to them.
class Names {
 public:
  /// `registry` must outlive the names.
  explicit Names(Registry& registry) : _registry(registry) {}

  /// Returns null when nothing is bound to the name.
  [[nodiscard]] const vexil::platform::Value* find(std::string_view name) const;

  /// Replaces what is bound to the name. An absent value unbinds the name.
  void bind(std::string_view name, vexil::platform::Value value);

  void unbind(std::string_view name) { bind(name, {}); }
  void unbindAll() { _values.clear(); }

 private:
  Registry& _registry;
  std::unordered_map<std::string, vexil::platform::Value, vexil::platform::HashOfText,
                     std::equal_to<>>
      _values;
};

}  // namespace replay
