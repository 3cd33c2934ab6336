// SPDX-License-Identifier: Apache-2.0
#include <vexil/avahi/ServiceFold.h>

#include <utility>

namespace vexil::avahi {

std::string withFinalDot(std::string_view name) {
  std::string result(name);
  if (name.ends_with('.')) {
    const std::size_t before = name.find_last_not_of('\\', name.size() - 2);
    const std::size_t backslashes =
        name.size() == 1 ? 0 : name.size() - 2 - (before == name.npos ? name.npos : before);
    if (backslashes % 2 == 0) {
      return result;
    }
  }
  result += '.';
  return result;
}

ServiceFold::Identity ServiceFold::identity(std::string_view name, std::string_view type,
                                            std::string_view domain) {
  return {withFinalDot(domain), withFinalDot(type), std::string(name)};
}

ServiceFold::Service ServiceFold::appeared(std::string_view name, std::string_view type,
                                           std::string_view domain, Place place) {
  const auto [position, isNew] = _entries.try_emplace(identity(name, type, domain));
  auto& [key, entry] = *position;
  entry.places.insert(place);
  if (!isNew) {
    return nullptr;
  }
  entry.service = std::make_shared<platform::NetService>(key.name, key.type, key.domain);
  return entry.service;
}

ServiceFold::Service ServiceFold::disappeared(std::string_view name, std::string_view type,
                                              std::string_view domain, Place place) {
  const auto position = _entries.find(identity(name, type, domain));
  if (position == _entries.end()) {
    return nullptr;
  }
  Entry& entry = position->second;
  entry.places.erase(place);
  if (!entry.places.empty()) {
    return nullptr;
  }
  Service service = std::move(entry.service);
  _entries.erase(position);
  return service;
}

std::vector<ServiceFold::Service> ServiceFold::clear() {
  std::vector<Service> services;
  services.reserve(_entries.size());
  for (auto& [identity, entry] : std::exchange(_entries, {})) {
    services.push_back(std::move(entry.service));
  }
  return services;
}

}  // namespace vexil::avahi
