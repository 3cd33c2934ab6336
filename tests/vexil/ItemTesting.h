// SPDX-License-Identifier: Apache-2.0
// What tests of items share: records, items and trees written briefly. TreeRecorder.h records what
// is announced of them.
#pragma once

#include "tests/support/Lines.h"
#include "tests/support/ValueGenerators.h"

#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <string>
#include <utility>

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

/// A domain record; absent values make no entry.
inline vexil::platform::Value domainRecord(const vexil::platform::Value& uniqueID,
                                           const vexil::platform::Value& name,
                                           const vexil::platform::Value& type = {}) {
  return vexil::platform::Value::dictionary(
      {{kTWDomainUniqueID, uniqueID}, {kTWDomainName, name}, {kTWDomainType, type}});
}

/// The record of an event that runs; absent values make no entry.
inline vexil::platform::Value activeRecord(const vexil::platform::Value& uniqueID,
                                           const vexil::platform::Value& event,
                                           const vexil::platform::Value& activity = {}) {
  return vexil::platform::Value::dictionary({{kTWActiveEventActiveID, uniqueID},
                                             {kTWActiveEventEvent, event},
                                             {kTWActiveEventActivity, activity}});
}

/// The record of a queued trigger, with its event's record and its trigger's; absent values make no
/// entry.
inline vexil::platform::Value queuedRecord(const vexil::platform::Value& uniqueID,
                                           const vexil::platform::Value& event,
                                           const vexil::platform::Value& trigger = {}) {
  return vexil::platform::Value::dictionary({{kTWQueuedTriggerTriggerID, uniqueID},
                                             {kTWQueuedTriggerEvent, event},
                                             {kTWQueuedTriggerTrigger, trigger}});
}

/// A trigger's record, which holds its date.
inline vexil::platform::Value dateRecord(const vexil::platform::Value& date) {
  return vexil::platform::Value::dictionary({{kTWTriggerDate, date}});
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

/// A plain item that represents something else than its identifier.
inline ItemPointer plainItemWith(const char* uniqueID,
                                 const vexil::platform::Value& representedObject,
                                 const KRAVTWVItemArray& children = {}) {
  auto item = KRAVTWVItemVexil::itemWithRepresentedObject(representedObject);
  item->setUniqueID(uniqueID);
  item->addChildren(children);
  return item;
}

/// An event item: its identifier and label are those of its record.
inline ItemPointer eventItem(const vexil::platform::Value& uniqueID,
                             const vexil::platform::Value& name,
                             const KRAVTWVItemArray& children = {}) {
  ItemPointer item = KRAVTWVEventVexil::itemWithEvent(eventRecord(uniqueID, name));
  item->addChildren(children);
  return item;
}

/// An array of items, as `setChildren` and `replaceChildren` take it.
inline std::shared_ptr<KRAVTWVItemArray> items(KRAVTWVItemArray elements) {
  return std::make_shared<KRAVTWVItemArray>(std::move(elements));
}

/// The identifiers of some items, in their order: "[alpha, beta]".
inline std::string identifiers(const KRAVTWVItemArray& items) {
  std::string text = "[";
  for (const auto& item : items) {
    text += (text.size() == 1 ? "" : ", ") + item->uniqueID().displayText();
  }
  return text + "]";
}

/// Whether any of some items has an observer.
inline bool isAnyObserved(const KRAVTWVItemArray& items) {
  return std::ranges::any_of(items, [](const auto& item) { return item->isObserved(); });
}

/// A tree on one line: "root[a=One b=Two[c=Three]]" is
///
///     root
///       a        with the label One
///       b        with the label Two
///         c      with the label Three
///
/// An absent label is left out with its "=".
inline std::string outline(const ItemPointer& item) {
  std::string text = item->uniqueID().displayText();
  if (!item->label().isAbsent()) {
    text += "=" + item->label().displayText();
  }
  const auto children = item->children();
  if (children && !children->empty()) {
    std::string inner;
    for (const ItemPointer& child : *children) {
      inner += (inner.empty() ? "" : " ") + outline(child);
    }
    text += "[" + inner + "]";
  }
  return text;
}

}  // namespace test
