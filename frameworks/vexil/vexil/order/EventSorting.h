// SPDX-License-Identifier: Apache-2.0
// Internal to collections: event records by name and then by identifier.
#pragma once

#include <vexil/platform/FieldReader.h>
#include <vexil/platform/Value.h>

#include <compare>

namespace vexil::detail {

/// The two values that decide where a record belongs.
struct EventKeys {
  const platform::Value* name;
  const platform::Value* identifier;
};

[[nodiscard]] std::weak_ordering order(const EventKeys& a, const EventKeys& b);

/// Reads the keys of many records; absent ones of what is no record.
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

/// Compares many records by name and, where names are equal, by identifier.
class EventComparison {
 public:
  std::weak_ordering operator()(const platform::Value& a, const platform::Value& b) {
    return order(_keysOfFirst(a), _keysOfSecond(b));
  }

 private:
  EventKeyReader _keysOfFirst;
  EventKeyReader _keysOfSecond;
};

/// A list of event records by name and then by identifier, stably.
struct OrderedEvents {
  platform::Value list;        // absent where the events are; the events themselves when in order
  bool isStrict = false;       // whether no two records share a place in the order
  bool areIdentified = false;  // whether none lacks an identifier
};

/// Sorts `events`. Raises `InvalidArgument` when they are neither absent nor an array.
[[nodiscard]] OrderedEvents inEventOrder(const platform::Value& events);

/// The order of an array that is in order; that of one that is not is neither strict nor
/// identified, as if nothing were known of it.
[[nodiscard]] OrderedEvents asItStands(const platform::Value& events);

}  // namespace vexil::detail
