// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/items/kinds/EmbeddedStrings.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/Error.h>

#include <utility>

namespace platform = vexil::platform;

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;

namespace {

/// The keys of the host's records, interned at the first use of any: the host's definitions of the
/// constants are linked by then.
struct RecordKeys {
  Key eventUniqueID{kTWEventUniqueID};
  Key eventName{kTWEventName};
  Key eventEnabled{kTWEventEnabled};
  Key domainUniqueID{kTWDomainUniqueID};
  Key domainName{kTWDomainName};
  Key queuedTriggerTriggerID{kTWQueuedTriggerTriggerID};
  Key queuedTriggerEvent{kTWQueuedTriggerEvent};
  Key queuedTriggerTrigger{kTWQueuedTriggerTrigger};
  Key triggerDate{kTWTriggerDate};
  Key activeEventActiveID{kTWActiveEventActiveID};
  Key activeEventActivity{kTWActiveEventActivity};
  Key activeEventEvent{kTWActiveEventEvent};
};

const RecordKeys& keys() {
  static const RecordKeys keys;
  return keys;
}

// Here, where classes need it, because a registration of its own would not be linked into a program
// that uses the library as an archive.
const platform::BundleRegistration ownStrings(&KRAVTWVItemVexilKeyPathChildren,
                                              vexil::detail::embeddedStrings());

std::set<std::string> with(std::set<std::string> keys, const char* added) {
  keys.insert({added, "representedEvent"});
  return keys;
}

}  // namespace

// --- group

KRAVTWVGroupVexil::KRAVTWVGroupVexil(Value label, Value uniqueID) : KRAVTWVKind(uniqueID) {
  setUniqueID(std::move(uniqueID));
  setLabel(std::move(label));
}

KRAVTWVGroupVexil::~KRAVTWVGroupVexil() = default;

// --- event

KRAVTWVEventVexil::~KRAVTWVEventVexil() = default;

Value KRAVTWVEventVexil::uniqueID() const {
  return representedEvent()[keys().eventUniqueID];
}

Value KRAVTWVEventVexil::label() const {
  return representedEvent()[keys().eventName];
}

bool KRAVTWVEventVexil::enabled() const {
  return representedEvent()[keys().eventEnabled].booleanReading();
}

std::set<std::string> KRAVTWVEventVexil::keyPathsForValuesAffectedByRepresentedObject() const {
  return with(KRAVTWVKind::keyPathsForValuesAffectedByRepresentedObject(), "enabled");
}

const KeyTable& KRAVTWVEventVexil::keyTable() const {
  static const KeyTable table(
      &itemKeyTable(),
      {KeyAccess::readOnly<&KRAVTWVEventVexil::representedEvent>("representedEvent")});
  return table;
}

// --- on-demand event

KRAVTWVOnDemandVexil::~KRAVTWVOnDemandVexil() = default;

// --- domain

KRAVTWVDomainVexil::~KRAVTWVDomainVexil() = default;

Value KRAVTWVDomainVexil::uniqueID() const {
  return representedObject()[keys().domainUniqueID];
}

Value KRAVTWVDomainVexil::label() const {
  Value name = representedObject()[keys().domainName];
  if (!name.isString()) {
    return name;
  }
  return platform::Bundle::forClassOf(*this).localizedString(name.string(), name.string());
}

// --- queued trigger

KRAVTWVQueuedTriggerVexil::~KRAVTWVQueuedTriggerVexil() = default;

Value KRAVTWVQueuedTriggerVexil::uniqueID() const {
  return representedObject()[keys().queuedTriggerTriggerID];
}

Value KRAVTWVQueuedTriggerVexil::label() const {
  return representedObject()[keys().queuedTriggerEvent][keys().eventName];
}

Value KRAVTWVQueuedTriggerVexil::representedEvent() const {
  return representedObject()[keys().queuedTriggerEvent];
}

Value KRAVTWVQueuedTriggerVexil::triggerDate() const {
  return representedObject()[keys().queuedTriggerTrigger][keys().triggerDate];
}

std::set<std::string> KRAVTWVQueuedTriggerVexil::keyPathsForValuesAffectedByRepresentedObject()
    const {
  return with(KRAVTWVKind::keyPathsForValuesAffectedByRepresentedObject(), "triggerDate");
}

const KeyTable& KRAVTWVQueuedTriggerVexil::keyTable() const {
  using Kind = KRAVTWVQueuedTriggerVexil;
  static const KeyTable table(&itemKeyTable(),
                              {KeyAccess::readOnly<&Kind::representedEvent>("representedEvent"),
                               KeyAccess::readOnly<&Kind::triggerDate>("triggerDate")});
  return table;
}

// --- active event

KRAVTWVActiveEventVexil::~KRAVTWVActiveEventVexil() = default;

Value KRAVTWVActiveEventVexil::uniqueID() const {
  return representedObject()[keys().activeEventActiveID];
}

Value KRAVTWVActiveEventVexil::label() const {
  return representedObject()[keys().activeEventEvent][keys().eventName];
}

Value KRAVTWVActiveEventVexil::representedEvent() const {
  return representedObject()[keys().activeEventEvent];
}

Value KRAVTWVActiveEventVexil::activity() const {
  return representedObject()[keys().activeEventActivity];
}

std::set<std::string> KRAVTWVActiveEventVexil::keyPathsForValuesAffectedByRepresentedObject()
    const {
  return with(KRAVTWVKind::keyPathsForValuesAffectedByRepresentedObject(), "activity");
}

const KeyTable& KRAVTWVActiveEventVexil::keyTable() const {
  using Kind = KRAVTWVActiveEventVexil;
  static const KeyTable table(&itemKeyTable(),
                              {KeyAccess::readOnly<&Kind::representedEvent>("representedEvent"),
                               KeyAccess::readOnly<&Kind::activity>("activity")});
  return table;
}

// --- network domain

KRAVTWVNetDomainVexil::~KRAVTWVNetDomainVexil() = default;

// --- network service

KRAVTWVNetServiceVexil::KRAVTWVNetServiceVexil(std::shared_ptr<platform::NetService> service)
    : KRAVTWVKind(Value(service)), _netService(std::move(service)) {}

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
