// SPDX-License-Identifier: Apache-2.0
#include <platform/NetService.h>

#include <utility>

namespace platform {

NetService::NetService(Value name, Value type, Value domain)
    : _name(std::move(name)), _type(std::move(type)), _domain(std::move(domain)) {}

bool NetService::isEqual(const Object& other) const {
  if (this == &other) {
    return true;
  }
  const auto* service = dynamic_cast<const NetService*>(&other);
  return service != nullptr && _name == service->_name && _type == service->_type &&
         _domain == service->_domain;
}

std::size_t NetService::hash() const {
  return (_domain.hash() * 31 + _type.hash()) * 31 + _name.hash();
}

}  // namespace platform
