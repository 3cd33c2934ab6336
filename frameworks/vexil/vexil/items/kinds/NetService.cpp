// SPDX-License-Identifier: Apache-2.0
#include <vexil/kinds/NetService.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Key.h>

#include <utility>

namespace platform = vexil::platform;

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;

KRAVTWVNetServiceVexil::KRAVTWVNetServiceVexil(std::shared_ptr<platform::NetService> service)
    : NetServiceFactories(Value(service)), _netService(std::move(service)) {}

KRAVTWVNetServiceVexil::~KRAVTWVNetServiceVexil() = default;

Value KRAVTWVNetServiceVexil::uniqueID() const {
  // Not through `label` and `domain`, so that a subclass that shows something else keeps its
  // identity.
  static const platform::NetService none({}, {}, {});
  const auto service = netService();
  return (service ? *service : none).identifier();
}

Value KRAVTWVNetServiceVexil::label() const {
  const auto service = netService();
  return service ? service->name() : Value();
}

Value KRAVTWVNetServiceVexil::domain() const {
  const auto service = netService();
  return service ? service->domain() : Value();
}

void KRAVTWVNetServiceVexil::setNetService(std::shared_ptr<platform::NetService> service) {
  static const Key key("netService");
  assign(key, _netService, std::move(service));
}

void KRAVTWVNetServiceVexil::setNetServiceValue(const Value& service) {
  auto netService = std::dynamic_pointer_cast<platform::NetService>(service.object());
  if (!netService && !service.isAbsent()) {
    throw platform::InvalidArgument("not a network service: " + service.description());
  }
  setNetService(std::move(netService));
}

const KeyTable& KRAVTWVNetServiceVexil::keyTable() const {
  using Kind = KRAVTWVNetServiceVexil;
  static const KeyTable table(
      &itemKeyTable(),
      {KeyAccess::readWrite<&Kind::netService, &Kind::setNetServiceValue>("netService"),
       KeyAccess::readOnly<&Kind::domain>("domain")});
  return table;
}
