// SPDX-License-Identifier: Apache-2.0
#include "HostItems.h"

#include <typeinfo>

namespace platform = vexil::platform;

namespace foreign {

std::size_t& livingHosts() {
  static std::size_t count = 0;
  return count;
}

std::shared_ptr<KRAVTWVItemVexil> hostItemLike(const KRAVTWVItemVexil& item) {
  const platform::Value object = item.representedObject();
  const auto is = [&](const std::type_info& kind) { return typeid(item) == kind; };
  if (is(typeid(KRAVTWVEventVexil))) {
    return HostEvent::itemWithEvent(object);
  }
  if (is(typeid(KRAVTWVOnDemandVexil))) {
    return HostOnDemand::itemWithEvent(object);
  }
  if (is(typeid(KRAVTWVDomainVexil))) {
    return HostDomain::itemWithDomain(object);
  }
  if (is(typeid(KRAVTWVQueuedTriggerVexil))) {
    return HostQueued::itemWithQueuedTrigger(object);
  }
  if (is(typeid(KRAVTWVActiveEventVexil))) {
    return HostActive::itemWithActiveEvent(object);
  }
  if (is(typeid(KRAVTWVNetDomainVexil))) {
    return HostNetDomain::itemWithNetDomain(object);
  }
  if (is(typeid(KRAVTWVNetServiceVexil))) {
    return HostNetService::itemWithNetService(
        std::dynamic_pointer_cast<platform::NetService>(object.object()));
  }
  if (is(typeid(KRAVTWVGroupVexil))) {
    return HostGroup::itemWithLabelUniqueID(item.label(), item.uniqueID());
  }
  if (is(typeid(KRAVTWVItemVexil))) {
    auto made = HostItem::itemWithRepresentedObject(object);
    made->setUniqueID(item.uniqueID());
    made->setLabel(item.label());
    return made;
  }
  return nullptr;
}

}  // namespace foreign
