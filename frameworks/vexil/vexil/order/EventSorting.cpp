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

/// A loop prefetches a record this many turns before it reads it.
constexpr std::size_t ahead = 12;

/// Returns nothing when the list is not in order.
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
  EventComparison compare;
  std::ranges::stable_sort(
      records, [&](const Value& a, const Value& b) { return std::is_lt(compare(a, b)); });
  return {Value::array(std::move(records))};
}

/// Sorts a list by the prefixes of names, and by comparing records whose prefixes are equal.
class PrefixSorting {
 public:
  explicit PrefixSorting(const Value& events)
      : _records(events.elements()), _entries(_records.size()) {}

  [[nodiscard]] OrderedEvents run() {
    readEntries();
    PrefixSort::sort(_entries, [&](const Entry& a, const Entry& b) {
      const auto answer = orderOf(a, b);
      return std::is_neq(answer) ? std::is_lt(answer) : a.index < b.index;
    });
    return takeSorted();
  }

 private:
  void readEntries() {
    EventKeyReader reader;
    bool namesAreStrings = true;
    for (std::size_t i = 0; i < _records.size(); ++i) {
      _records[std::min(i + ahead, _records.size() - 1)].prefetch(2);
      const auto [name, identifier] = reader(_records[i]);
      namesAreStrings = namesAreStrings && name->isString();
      _areIdentified = _areIdentified && !identifier->isAbsent();
      _entries[i] = {name->textPrefix(), static_cast<std::uint32_t>(i)};
    }
    if (!namesAreStrings) {
      // Values of other types have no prefix. Without prefixes the comparison decides alone.
      for (Entry& entry : _entries) {
        entry.prefix = {};
      }
    }
  }

  [[nodiscard]] OrderedEvents takeSorted() {
    bool isStrict = true;
    ArrayMaker sorted(_records.size());
    for (std::size_t i = 0; i < _entries.size(); ++i) {
      _records[_entries[std::min(i + ahead, _entries.size() - 1)].index].prefetch(1);
      sorted.set(i, _records[_entries[i].index]);
      isStrict = isStrict && (i == 0 || _entries[i - 1].prefix != _entries[i].prefix ||
                              std::is_lt(orderOf(_entries[i - 1], _entries[i])));
    }
    return {sorted.take(), isStrict, _areIdentified};
  }

  [[nodiscard]] std::weak_ordering orderOf(const Entry& a, const Entry& b) {
    return _compare(_records[a.index], _records[b.index]);
  }

  std::span<const Value> _records;
  std::vector<Entry> _entries;
  EventComparison _compare;
  bool _areIdentified = true;
};

}  // namespace

const Key& eventIdentifierKey() {
  static const Key key(kTWEventUniqueID);
  return key;
}

EventKeyReader::EventKeyReader() : _name(Key(kTWEventName)), _identifier(Key(kTWEventUniqueID)) {}

std::weak_ordering order(const EventKeys& a, const EventKeys& b) {
  const auto names = a.name->compare(*b.name);
  return std::is_neq(names) ? names : a.identifier->compare(*b.identifier);
}

OrderedEvents asItStands(const Value& events) {
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
  return PrefixSorting(events).run();
}

}  // namespace vexil::detail
