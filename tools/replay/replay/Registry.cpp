// SPDX-License-Identifier: Apache-2.0
#include <replay/Registry.h>

#include <algorithm>
#include <utility>

namespace platform = vexil::platform;

namespace replay {

std::size_t Registry::numberOf(const std::shared_ptr<platform::Object>& item) {
  Known& entry = known(item);
  if (entry.number == 0) {
    entry.number = ++_lastNumber;
  }
  return entry.number;
}

void Registry::name(const std::shared_ptr<platform::Object>& object, std::string_view name) {
  Known& entry = known(object);
  if (!entry.name) {
    entry.name = name;
  }
}

std::optional<std::string> Registry::nameOf(const platform::Object& object) const {
  const auto found = _known.find(&object);
  const bool isKnown = found != _known.end() && !found->second.object.expired();
  return isKnown ? found->second.name : std::nullopt;
}

std::vector<std::shared_ptr<platform::Object>> Registry::survivors() const {
  std::vector<std::shared_ptr<platform::Object>> result;
  for (const auto& [address, entry] : _known) {
    if (auto object = entry.object.lock()) {
      result.push_back(std::move(object));
    }
  }
  return result;
}

Registry::Known& Registry::known(const std::shared_ptr<platform::Object>& object) {
  if (_known.size() >= _sizeToSweepAt) {
    sweep();
  }
  Known& entry = _known[object.get()];
  // An object that is gone may have had the same address.
  if (entry.object.expired()) {
    entry = Known{object, 0, std::nullopt};
  }
  return entry;
}

void Registry::sweep() {
  std::erase_if(_known, [](const auto& pair) { return pair.second.object.expired(); });
  _sizeToSweepAt = std::max<std::size_t>(1024, 2 * _known.size());
}

}  // namespace replay
