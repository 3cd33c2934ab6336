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

bool isEnginesOwn(const Value& domain) {
  static const Key typeKey(kTWDomainType);
  const Value& type = domain[typeKey];
  return type.isString() && type.string() == kTWDomainType_Engine;
}

namespace {

using Place = PlaceTable::Place;

/// The identifier that a record names. A value that is no string counts as the empty string.
const Value& identifierIn(const Value& value) {
  static const Value none("");
  return value.isString() ? value : none;
}

/// The rows of the domains that are shown. A row is found by the identifier of its domain.
class DomainRows {
 public:
  explicit DomainRows(std::size_t domainCount) : _rowsByIdentifier(domainCount) {}

  /// Returns false when two domains have the same identifier.
  [[nodiscard]] bool add(const Value& domains) {
    platform::FieldReader identifierOf{Key(kTWDomainUniqueID)};
    for (const Value& domain : domains.elements()) {
      if (isEnginesOwn(domain)) {
        continue;
      }
      const Value& identifier = identifierIn(identifierOf(domain));
      if (find(identifier) != PlaceTable::nowhere) {
        return false;
      }
      _rowsByIdentifier.insert(identifier.hash(), static_cast<Place>(items->size()));
      _identifiers.push_back(identifier);
      items->push_back(KRAVTWVDomainVexil::itemWithDomain(domain));
    }
    return true;
  }

  /// Returns nowhere when no domain with this identifier is shown.
  [[nodiscard]] Place find(const Value& identifier) const {
    return _rowsByIdentifier.find(identifier.hash(),
                                  [&](Place row) { return _identifiers[row] == identifier; });
  }

  std::shared_ptr<KRAVTWVItemArray> items = std::make_shared<KRAVTWVItemArray>();

 private:
  std::vector<Value> _identifiers;  // of the rows
  PlaceTable _rowsByIdentifier;
};

/// The row of each event, nowhere if the event is not shown. An event that is the same as in the
/// list before stays in its row: `origins` and `rowsBefore` are about that list. `origins` is null
/// when nothing is known of it.
std::vector<Place> rowsOf(std::span<const Value> events, const Place* origins,
                          const std::vector<Place>& rowsBefore, const DomainRows& domains) {
  constexpr std::size_t ahead = 12;
  std::vector<Place> rows;
  rows.reserve(events.size());
  platform::FieldReader domainOf{Key(kTWEventDomain)};
  for (std::size_t i = 0; i < events.size(); ++i) {
    const Place origin = origins != nullptr ? origins[i] : PlaceTable::nowhere;
    if (origin < rowsBefore.size()) {  // it bears no mark, so the content is the same
      rows.push_back(rowsBefore[origin]);
      continue;
    }
    events[std::min(i + ahead, events.size() - 1)].prefetch();
    rows.push_back(domains.find(identifierIn(domainOf(events[i]))));
  }
  return rows;
}

/// Gives each row its share of the events, in their order.
void selectByRow(const std::vector<Place>& rowOfEvent, std::vector<FreshEvents>& rows) {
  for (const Place row : rowOfEvent) {
    if (row != PlaceTable::nowhere) {
      ++rows[row].end;
    }
  }
  const auto selection = std::make_shared<std::vector<Place>>(rowOfEvent.size());
  std::size_t first = 0;
  for (FreshEvents& row : rows) {
    row.selection = selection;
    row.first = first;
    first += std::exchange(row.end, first);
  }
  for (std::size_t i = 0; i < rowOfEvent.size(); ++i) {
    if (rowOfEvent[i] != PlaceTable::nowhere) {
      (*selection)[rows[rowOfEvent[i]].end++] = static_cast<Place>(i);
    }
  }
}

}  // namespace

std::optional<FreshSource> RowsOfEvents::freshRows(
    const Value& events, const std::shared_ptr<const EventLineage>& lineage, const Value& domains) {
  const Value domainsBefore = _domains;  // destroyed last, because this can run foreign code
  DomainRows rows(domains.elements().size());
  if (!rows.add(domains)) {
    return std::nullopt;
  }
  const bool isListBeforeKnown =
      _list != 0 && _list == lineage->listBefore && _domains.sharesStorageWith(domains);
  _rows =
      rowsOf(events.elements(), isListBeforeKnown ? lineage->origins.data() : nullptr, _rows, rows);
  _list = lineage->list;
  _domains = domains;

  std::vector<FreshEvents> eventsOfRows;
  eventsOfRows.reserve(rows.items->size());
  for (const auto& item : *rows.items) {
    eventsOfRows.push_back({.records = events, .lineage = lineage, .parent = item});
  }
  selectByRow(_rows, eventsOfRows);
  if (eventsOfRows.size() == 1) {
    // The row of a single domain is not shown, so it does not become the parent of its events.
    eventsOfRows.front().parent = nullptr;
    return std::move(eventsOfRows.front());
  }
  return FreshRows(std::move(rows.items), std::move(eventsOfRows));
}

}  // namespace vexil::detail
