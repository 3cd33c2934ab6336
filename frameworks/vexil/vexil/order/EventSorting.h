// SPDX-License-Identifier: Apache-2.0
// Internal to collections: event records by name and then by identifier.
#pragma once

#include <vexil/platform/FieldReader.h>
#include <vexil/platform/Key.h>
#include <vexil/platform/Value.h>

#include <compare>

namespace vexil::detail {

/// The key of the identifier in an event record.
[[nodiscard]] const platform::Key& eventIdentifierKey();

/// Whether an identifier is a text or number. Looking it up runs no foreign code then.
[[nodiscard]] inline bool isPlainIdentifier(const platform::Value& identifier) {
  return identifier.isString() || identifier.isNumber();
}

/// The two values that decide the order of records.
struct EventKeys {
  const platform::Value* name;
  const platform::Value* identifier;
};

/// Compares by name, and by identifier if names compare equal.
[[nodiscard]] std::weak_ordering order(const EventKeys& a, const EventKeys& b);

/// Reads the keys of many records. What is no record has absent ones.
class EventKeyReader {
 public:
  EventKeyReader();
  EventKeys operator()(const platform::Value& record) {
    return {&name(record), &identifier(record)};
  }
  const platform::Value& name(const platform::Value& record) { return _name(record); }
  const platform::Value& identifier(const platform::Value& record) { return _identifier(record); }

 private:
  platform::FieldReader _name;
  platform::FieldReader _identifier;
};

/// Compares many records with `order`.
class EventComparison {
 public:
  std::weak_ordering operator()(const platform::Value& a, const platform::Value& b) {
    return order(_keysOfFirst(a), _keysOfSecond(b));
  }

 private:
  EventKeyReader _keysOfFirst;
  EventKeyReader _keysOfSecond;
};

/// A list of event records, sorted stably by name and then by identifier.
struct OrderedEvents {
  platform::Value list;        // absent if the events are absent
  bool isStrict = false;       // known: no two records compare equal
  bool areIdentified = false;  // known: all records have identifiers
};

/// Sorts `events`. If they are in order already, the result shares their storage. Throws
/// `InvalidArgument` when they are neither absent nor an array.
[[nodiscard]] OrderedEvents inEventOrder(const platform::Value& events);

/// Returns an array without sorting it. If it is not in order, nothing is known of it.
[[nodiscard]] OrderedEvents asItStands(const platform::Value& events);

}  // namespace vexil::detail
