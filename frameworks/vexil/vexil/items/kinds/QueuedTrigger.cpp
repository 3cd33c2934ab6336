// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/kinds/QueuedTrigger.h>
#include <vexil/platform/Key.h>

namespace platform = vexil::platform;

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;

namespace {

/// Interned when one of them is first used: by then the host's own constants are linked.
struct RecordKeys {
  Key triggerID{kTWQueuedTriggerTriggerID};
  Key event{kTWQueuedTriggerEvent};
  Key trigger{kTWQueuedTriggerTrigger};
  Key triggerDate{kTWTriggerDate};
  Key eventName{kTWEventName};
};

const RecordKeys& keys() {
  static const RecordKeys keys;
  return keys;
}

}  // namespace

KRAVTWVQueuedTriggerVexil::~KRAVTWVQueuedTriggerVexil() = default;

Value KRAVTWVQueuedTriggerVexil::uniqueID() const {
  return representedObject()[keys().triggerID];
}

Value KRAVTWVQueuedTriggerVexil::label() const {
  return representedObject()[keys().event][keys().eventName];
}

Value KRAVTWVQueuedTriggerVexil::representedEvent() const {
  return representedObject()[keys().event];
}

Value KRAVTWVQueuedTriggerVexil::triggerDate() const {
  return representedObject()[keys().trigger][keys().triggerDate];
}

std::set<std::string> KRAVTWVQueuedTriggerVexil::keyPathsForValuesAffectedByRepresentedObject()
    const {
  auto keys = KRAVTWVItemVexil::keyPathsForValuesAffectedByRepresentedObject();
  keys.insert({"triggerDate", "representedEvent"});
  return keys;
}

const KeyTable& KRAVTWVQueuedTriggerVexil::keyTable() const {
  using Kind = KRAVTWVQueuedTriggerVexil;
  static const KeyTable table(&itemKeyTable(),
                              {KeyAccess::readOnly<&Kind::representedEvent>("representedEvent"),
                               KeyAccess::readOnly<&Kind::triggerDate>("triggerDate")});
  return table;
}
