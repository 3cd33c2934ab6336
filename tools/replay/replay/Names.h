// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/Hash.h>
#include <platform/Value.h>
#include <replay/Registry.h>

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
  [[nodiscard]] const platform::Value* find(std::string_view name) const;

  /// Replaces what is bound to the name; an absent value leaves nothing bound.
  void bind(std::string_view name, platform::Value value);

  void unbind(std::string_view name) { bind(name, {}); }
  void unbindAll() { _values.clear(); }

 private:
  Registry& _registry;
  std::unordered_map<std::string, platform::Value, platform::HashOfText, std::equal_to<>> _values;
};

}  // namespace replay
