// SPDX-License-Identifier: Apache-2.0
// What tests of items share: records and items written briefly, and notices as lines of text.
#pragma once

#include "tests/support/ValueGenerators.h"

#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Observing.h>
#include <vexil/platform/Value.h>

#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

/// What GoogleTest prints of an item; found by the argument's namespace.
inline void PrintTo(const std::shared_ptr<KRAVTWVItemVexil>& item, std::ostream* out) {
  *out << (item ? item->description() : "no item");
}

namespace test {

using ItemPointer = std::shared_ptr<KRAVTWVItemVexil>;

/// An event record of the stand-in's keys; absent values make no entry.
inline vexil::platform::Value eventRecord(const vexil::platform::Value& uniqueID,
                                          const vexil::platform::Value& name,
                                          const vexil::platform::Value& enabled = {}) {
  return vexil::platform::Value::dictionary(
      {{kTWEventUniqueID, uniqueID}, {kTWEventName, name}, {kTWEventEnabled, enabled}});
}

/// A plain item that represents its identifier.
inline ItemPointer plainItem(const char* uniqueID) {
  auto item = KRAVTWVItemVexil::itemWithRepresentedObject(uniqueID);
  item->setUniqueID(uniqueID);
  return item;
}

/// The same with children.
inline ItemPointer plainItem(const char* uniqueID, const KRAVTWVItemArray& children) {
  auto item = plainItem(uniqueID);
  item->addChildren(children);
  return item;
}

/// The identifiers of some items, in their order: "[alpha, beta]".
inline std::string identifiers(const KRAVTWVItemArray& items) {
  std::string text = "[";
  for (const auto& item : items) {
    text += (text.size() == 1 ? "" : ", ") + item->uniqueID().displayText();
  }
  return text + "]";
}

/// A value in a notice; items by their identifiers, because their descriptions hold addresses.
inline std::string noticed(const vexil::platform::Value& value) {
  if (const auto item = std::dynamic_pointer_cast<KRAVTWVItemVexil>(value.object())) {
    return item->uniqueID().displayText();
  }
  if (!value.isArray()) {
    return value.isAbsent() ? "absent" : value.isNull() ? "null" : value.displayText();
  }
  std::string text = "[";
  for (const vexil::platform::Value& element : value.elements()) {
    text += (text.size() == 1 ? "" : ", ") + noticed(element);
  }
  return text + "]";
}

/// Observes keys of one object and keeps what it was told, a line a notice, such as
/// "label setting old=a new=b" and "children removal {0-1} old=[x, y]".
class Notices {
 public:
  Notices(const std::shared_ptr<vexil::platform::Observable>& object,
          const std::vector<std::string>& keys,
          vexil::platform::ObservingOptions options = vexil::platform::ObservingOptions::both) {
    for (const std::string& key : keys) {
      _observations.push_back(vexil::platform::observe(
          object, key, options, [this, key](const vexil::platform::ChangeRecord& change) {
            _lines.push_back(line(key, change));
          }));
    }
  }
  // The closures hold its address.
  Notices(const Notices&) = delete;
  Notices& operator=(const Notices&) = delete;

  /// What was told since the last call, in order.
  [[nodiscard]] std::vector<std::string> take() { return std::exchange(_lines, {}); }

 private:
  static std::string line(const std::string& key, const vexil::platform::ChangeRecord& change) {
    static constexpr const char* kinds[] = {"", "setting", "insertion", "removal", "replacement"};
    std::string text = key + " " + kinds[static_cast<unsigned>(change.kind)];
    if (change.indexes) {
      text += " " + change.indexes->description();
    }
    if (!change.oldValue.isAbsent()) {
      text += " old=" + noticed(change.oldValue);
    }
    if (!change.newValue.isAbsent()) {
      text += " new=" + noticed(change.newValue);
    }
    return text;
  }

  std::vector<vexil::platform::Observation> _observations;
  std::vector<std::string> _lines;
};

using Lines = std::vector<std::string>;

}  // namespace test
