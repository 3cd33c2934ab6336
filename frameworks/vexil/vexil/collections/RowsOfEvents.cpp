// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/collections/RowsOfEvents.h>
#include <vexil/platform/FieldReader.h>

#include <algorithm>
#include <span>
#include <utility>

namespace vexil::detail {

using platform::Key;
using platform::Value;

namespace {

/// Gives each row its share of the events, in their order; `rowOfEvent` may be nowhere.
void selectByRow(const std::vector<PlaceTable::Place>& rowOfEvent, std::vector<FreshEvents>& rows) {
  for (const PlaceTable::Place row : rowOfEvent) {
    if (row != PlaceTable::nowhere) {
      ++rows[row].end;
    }
  }
  const auto selection = std::make_shared<std::vector<PlaceTable::Place>>(rowOfEvent.size());
  std::size_t first = 0;
  for (FreshEvents& row : rows) {
    row.selection = selection;
    row.first = first;
    first += std::exchange(row.end, first);
  }
  for (std::size_t i = 0; i < rowOfEvent.size(); ++i) {
    if (rowOfEvent[i] != PlaceTable::nowhere) {
      (*selection)[rows[rowOfEvent[i]].end++] = static_cast<PlaceTable::Place>(i);
    }
  }
}

}  // namespace

bool isEnginesOwn(const Value& domain) {
  static const Key typeKey(kTWDomainType);
  const Value& type = domain[typeKey];
  return type.isString() && type.string() == kTWDomainType_Engine;
}

std::optional<FreshSource> RowsOfEvents::freshRows(
    const Value& events, const std::shared_ptr<const EventLineage>& lineage, const Value& domains) {
  const Value domainsBefore = _domains;  // goes last, as anything can happen when it does
  auto items = std::make_shared<KRAVTWVItemArray>();
  std::vector<FreshEvents> eventsOfRows;
  std::vector<Value> identifiers;
  PlaceTable rowsByIdentifier(domains.elements().size());
  const auto rowOf = [&](const Value& identifier) {
    return rowsByIdentifier.find(
        identifier.hash(), [&](PlaceTable::Place row) { return identifiers[row] == identifier; });
  };
  const auto identifierIn = [](const Value& value) -> const Value& {
    static const Value none("");
    return value.isString() ? value : none;
  };
  platform::FieldReader identifierOf{Key(kTWDomainUniqueID)};
  for (const Value& domain : domains.elements()) {
    if (isEnginesOwn(domain)) {
      continue;
    }
    const Value& identifier = identifierIn(identifierOf(domain));
    if (rowOf(identifier) != PlaceTable::nowhere) {
      return std::nullopt;
    }
    rowsByIdentifier.insert(identifier.hash(), static_cast<PlaceTable::Place>(items->size()));
    identifiers.push_back(identifier);
    items->push_back(KRAVTWVDomainVexil::itemWithDomain(domain));
    eventsOfRows.push_back({.records = events, .lineage = lineage, .parent = items->back()});
  }

  const bool isFollowed =
      _list != 0 && _list == lineage->listBefore && _domains.sharesStorageWith(domains);
  const std::vector<PlaceTable::Place> before = std::exchange(_rows, {});
  const std::span<const Value> records = events.elements();
  _rows.reserve(records.size());
  platform::FieldReader domainOf{Key(kTWEventDomain)};
  for (std::size_t i = 0; i < records.size(); ++i) {
    const PlaceTable::Place origin = isFollowed ? lineage->origins[i] : PlaceTable::nowhere;
    if (origin < before.size()) {  // of the same content, as it bears no mark
      _rows.push_back(before[origin]);
      continue;
    }
    constexpr std::size_t ahead = 12;
    records[std::min(i + ahead, records.size() - 1)].prefetch();
    _rows.push_back(rowOf(identifierIn(domainOf(records[i]))));
  }
  _list = lineage->list;
  _domains = domains;

  selectByRow(_rows, eventsOfRows);
  if (items->size() == 1) {
    // The row goes, and with it what its events would have had for a parent.
    eventsOfRows.front().parent = nullptr;
    return std::move(eventsOfRows.front());
  }
  return FreshRows(std::move(items), std::move(eventsOfRows));
}

}  // namespace vexil::detail
