// SPDX-License-Identifier: Apache-2.0
#include <replay/Names.h>

#include <utility>

namespace platform = vexil::platform;

namespace replay {

const platform::Value* Names::find(std::string_view name) const {
  const auto found = _values.find(std::string(name));
  return found == _values.end() ? nullptr : &found->second;
}

void Names::bind(std::string_view name, platform::Value value) {
  if (value.isAbsent()) {
    _values.erase(std::string(name));
    return;
  }
  if (value.isObject()) {
    _registry.name(value.object(), name);
  }
  _values[std::string(name)] = std::move(value);
}

}  // namespace replay
