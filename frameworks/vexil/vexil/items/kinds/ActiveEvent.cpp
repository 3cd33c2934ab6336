// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/kinds/ActiveEvent.h>
#include <vexil/platform/Key.h>

namespace platform = vexil::platform;

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;

namespace {

/// Interned when one of them is first used: by then the host's own constants are linked.
struct RecordKeys {
  Key activeID{kTWActiveEventActiveID};
  Key activity{kTWActiveEventActivity};
  Key event{kTWActiveEventEvent};
  Key eventName{kTWEventName};
};

const RecordKeys& keys() {
  static const RecordKeys keys;
  return keys;
}

}  // namespace

KRAVTWVActiveEventVexil::~KRAVTWVActiveEventVexil() = default;

Value KRAVTWVActiveEventVexil::uniqueID() const {
  return representedObject()[keys().activeID];
}

Value KRAVTWVActiveEventVexil::label() const {
  return representedObject()[keys().event][keys().eventName];
}

Value KRAVTWVActiveEventVexil::representedEvent() const {
  return representedObject()[keys().event];
}

Value KRAVTWVActiveEventVexil::activity() const {
  return representedObject()[keys().activity];
}

std::set<std::string> KRAVTWVActiveEventVexil::keyPathsForValuesAffectedByRepresentedObject()
    const {
  auto keys = KRAVTWVItemVexil::keyPathsForValuesAffectedByRepresentedObject();
  keys.insert({"activity", "representedEvent"});
  return keys;
}

const KeyTable& KRAVTWVActiveEventVexil::keyTable() const {
  using Kind = KRAVTWVActiveEventVexil;
  static const KeyTable table(&itemKeyTable(),
                              {KeyAccess::readOnly<&Kind::representedEvent>("representedEvent"),
                               KeyAccess::readOnly<&Kind::activity>("activity")});
  return table;
}
