// SPDX-License-Identifier: Apache-2.0
// What tests of collections share.
#pragma once

#include "tests/support/TreeRecorder.h"

#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/NetService.h>
#include <vexil/platform/Value.h>

#include <memory>
#include <string>
#include <vector>

namespace test {

inline vexil::platform::Value records(std::vector<vexil::platform::Value> all) {
  return vexil::platform::Value::array(std::move(all));
}

/// An event record that says which domain it belongs to.
inline vexil::platform::Value eventOf(const vexil::platform::Value& domain,
                                      const vexil::platform::Value& uniqueID,
                                      const vexil::platform::Value& name) {
  return vexil::platform::Value::dictionary(
      {{kTWEventUniqueID, uniqueID}, {kTWEventName, name}, {kTWEventDomain, domain}});
}

using ServicePointer = std::shared_ptr<vexil::platform::NetService>;

inline ServicePointer service(const char* name, const char* domain, const char* type = "_t.") {
  return std::make_shared<vexil::platform::NetService>(name, type, domain);
}

/// A recorder's lines, with those of a collection's own keys cut down to the key, because their
/// values are whole lists of records: "sortedEvents".
inline Lines briefly(Lines lines) {
  for (std::string& line : lines) {
    if (line.starts_with("KRAVTWV")) {
      const auto key = line.find(' ') + 1;
      line = line.substr(key, line.find(' ', key) - key);
    }
  }
  return lines;
}

/// Whether two trees have the same identifiers, labels and represented objects at every level.
inline bool showTheSame(const ItemPointer& a, const ItemPointer& b) {
  return outline(a) == outline(b) && a->isEqual(*b);
}

}  // namespace test
