// SPDX-License-Identifier: Apache-2.0
// What tests of collections share.
#pragma once

#include "tests/support/Recorder.h"

#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/Value.h>

#include <sstream>
#include <string>
#include <vector>

namespace test {

inline vexil::platform::Value records(std::vector<vexil::platform::Value> all) {
  return vexil::platform::Value::array(std::move(all));
}

/// A domain record; absent values make no entry.
inline vexil::platform::Value domainRecord(const vexil::platform::Value& uniqueID,
                                           const vexil::platform::Value& name,
                                           const vexil::platform::Value& type = {}) {
  return vexil::platform::Value::dictionary(
      {{kTWDomainUniqueID, uniqueID}, {kTWDomainName, name}, {kTWDomainType, type}});
}

/// An event record that says which domain it belongs to.
inline vexil::platform::Value eventOf(const vexil::platform::Value& domain,
                                      const vexil::platform::Value& uniqueID,
                                      const vexil::platform::Value& name) {
  return vexil::platform::Value::dictionary(
      {{kTWEventUniqueID, uniqueID}, {kTWEventName, name}, {kTWEventDomain, domain}});
}

/// A recorder's lines, those about a collection's own properties cut down to the key: their values
/// are long.
inline std::string briefly(const std::string& lines) {
  std::string brief;
  std::istringstream stream(lines);
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("KRAVTWV")) {
      const auto key = line.find(' ') + 1;
      line = line.substr(key, line.find(' ', key) - key);
    }
    brief += line + "\n";
  }
  return brief;
}

/// Whether two trees show the same: identifiers, labels and what is represented, at every level.
inline bool showTheSame(const ItemPointer& a, const ItemPointer& b) {
  return outline(a) == outline(b) && a->isEqual(*b);
}

}  // namespace test
