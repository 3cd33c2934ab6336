// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <replay/Registry.h>
#include <vexil/platform/Value.h>
#include <vexil/platform/detail/Hash.h>

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace replay {

/// What the names of a scenario stand for. They hold it, and nothing else does from one step to the
/// next.
class Names {
 public:
  /// Must outlive the names.
  explicit Names(Registry& registry) : _registry(registry) {}

  /// Null when nothing is bound to the name.
  [[nodiscard]] const vexil::platform::Value* find(std::string_view name) const;

  /// Replaces what is bound to the name; an absent value leaves nothing bound.
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
