// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/order/EventSorting.h>
#include <vexil/order/LiteralRefresh.h>
#include <vexil/order/PrefixSort.h>
#include <vexil/platform/Error.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace vexil::detail {

using platform::ArrayMaker;
using platform::Key;
using platform::Value;

namespace {

using Entry = PrefixSort::Entry;

/// How many turns before a record is looked at it is fetched.
constexpr std::size_t ahead = 12;

/// Nothing when the list is not in order.
std::optional<OrderedEvents> alreadyInOrder(const Value& events) {
  const std::span<const Value> records = events.elements();
  OrderedEvents ordered{events, true, true};
  EventKeyReader reader;
  std::optional<EventKeys> last;
  for (const Value& record : records) {
    const EventKeys keys = reader(record);
    const auto answer = last ? order(*last, keys) : std::weak_ordering::less;
    if (std::is_gt(answer)) {
      return std::nullopt;
    }
    ordered.isStrict = ordered.isStrict && std::is_lt(answer);
    ordered.areIdentified = ordered.areIdentified && !keys.identifier->isAbsent();
    last = keys;
  }
  return ordered;
}

/// The literal way.
OrderedEvents sortedByComparison(const Value& events) {
  std::vector<Value> records(events.elements().begin(), events.elements().end());
  EventKeyReader reader;
  EventKeyReader readerOfOthers;
  std::ranges::stable_sort(records, [&](const Value& a, const Value& b) {
    return std::is_lt(order(reader(a), readerOfOthers(b)));
  });
  return {Value::array(std::move(records))};
}

}  // namespace

EventKeyReader::EventKeyReader() : _name(Key(kTWEventName)), _identifier(Key(kTWEventUniqueID)) {}

std::weak_ordering order(const EventKeys& a, const EventKeys& b) {
  const auto names = a.name->compare(*b.name);
  return std::is_neq(names) ? names : a.identifier->compare(*b.identifier);
}

OrderedEvents knownOrderOf(const Value& events) {
  auto ordered = alreadyInOrder(events);
  return ordered ? std::move(*ordered) : OrderedEvents{events};
}

OrderedEvents inEventOrder(const Value& events) {
  if (events.isAbsent()) {
    return {};
  }
  if (!events.isArray()) {
    throw platform::InvalidArgument("not an array: " + events.description());
  }
  if (LiteralRefresh::isWanted()) {
    return sortedByComparison(events);
  }
  if (auto ordered = alreadyInOrder(events)) {
    return std::move(*ordered);
  }
  const std::span<const Value> records = events.elements();
  std::vector<Entry> entries(records.size());
  EventKeyReader reader;
  EventKeyReader readerOfOthers;
  bool namesAreStrings = true;
  bool areIdentified = true;
  for (std::size_t i = 0; i < records.size(); ++i) {
    records[std::min(i + ahead, records.size() - 1)].prefetch(2);
    const auto [name, identifier] = reader(records[i]);
    namesAreStrings = namesAreStrings && name->isString();
    areIdentified = areIdentified && !identifier->isAbsent();
    entries[i] = {name->textPrefix(), static_cast<std::uint32_t>(i)};
  }
  if (!namesAreStrings) {
    // Values of other types have no prefix, which leaves all to their comparison.
    for (Entry& entry : entries) {
      entry.prefix = {};
    }
  }
  const auto orderOf = [&](const Entry& a, const Entry& b) {
    return order(reader(records[a.index]), readerOfOthers(records[b.index]));
  };
  PrefixSort::sort(entries, [&](const Entry& a, const Entry& b) {
    const auto answer = orderOf(a, b);
    return std::is_neq(answer) ? std::is_lt(answer) : a.index < b.index;
  });

  bool isStrict = true;
  ArrayMaker sorted(records.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    records[entries[std::min(i + ahead, entries.size() - 1)].index].prefetch(1);
    sorted.set(i, records[entries[i].index]);
    isStrict = isStrict && (i == 0 || entries[i - 1].prefix != entries[i].prefix ||
                            std::is_lt(orderOf(entries[i - 1], entries[i])));
  }
  return {sorted.take(), isStrict, areIdentified};
}

}  // namespace vexil::detail
