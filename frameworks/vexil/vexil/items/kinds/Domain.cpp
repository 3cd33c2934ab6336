// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/kinds/Domain.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/Key.h>
#include <vexil/texts/EmbeddedStrings.h>  // registers the tables

namespace platform = vexil::platform;

using platform::Key;
using platform::Value;

namespace {

/// Interned when one of them is first used: by then the host's own constants are linked.
struct RecordKeys {
  Key uniqueID{kTWDomainUniqueID};
  Key name{kTWDomainName};
};

const RecordKeys& keys() {
  static const RecordKeys keys;
  return keys;
}

}  // namespace

KRAVTWVDomainVexil::~KRAVTWVDomainVexil() = default;

Value KRAVTWVDomainVexil::uniqueID() const {
  return representedObject()[keys().uniqueID];
}

Value KRAVTWVDomainVexil::label() const {
  Value name = representedObject()[keys().name];
  if (!name.isString()) {
    return name;
  }
  return platform::Bundle::forClassOf(*this).localizedString(name.string(), name.string());
}
