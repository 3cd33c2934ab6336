// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/Object.h>
#include <platform/Value.h>

namespace platform {

/// A service that was found on the network: its name, type and domain, each a string or absent,
/// with the final dots that DNS names have ("_ipp._tcp.", "local."). It never changes. Two services
/// are equal when all three values are.
class NetService : public Object {
 public:
  NetService(Value name, Value type, Value domain);

  [[nodiscard]] const Value& name() const noexcept { return _name; }
  [[nodiscard]] const Value& type() const noexcept { return _type; }
  [[nodiscard]] const Value& domain() const noexcept { return _domain; }

  [[nodiscard]] bool isEqual(const Object& other) const override;
  [[nodiscard]] std::size_t hash() const override;

 private:
  Value _name;
  Value _type;
  Value _domain;
};

}  // namespace platform
