// SPDX-License-Identifier: Apache-2.0
#include "WorkloadTrees.h"

#include <ternwood/Ternwood.h>

#include <algorithm>
#include <map>
#include <string>

namespace platform = vexil::platform;

using platform::Key;
using platform::ObservingOptions;
using platform::Value;

namespace {

constexpr platform::ContextToken rootContext("refresh_workloads.root");

const Key& childrenKey() {
  static const Key key(KRAVTWVItemVexilKeyPathChildren);
  return key;
}

/// FNV-1, a byte or number at a time.
class Checksum {
 public:
  void add(std::uint64_t number) { _sum = (_sum ^ number) * 1'099'511'628'211U; }
  void add(std::string_view text) {
    for (const char character : text) {
      add(std::uint64_t{static_cast<unsigned char>(character)});
    }
  }
  [[nodiscard]] std::uint64_t sum() const { return _sum; }

 private:
  std::uint64_t _sum = 0;
};

}  // namespace

WatchedEvents::WatchedEvents() {
  collection->root()->addObserver(observer, childrenKey(), ObservingOptions::both, &rootContext);
}

WatchedEvents::~WatchedEvents() {
  collection->root()->removeObserver(observer, childrenKey(), &rootContext);
}

void WatchedEvents::requireContent(std::string_view workload, const WorkloadModel& model) const {
  requireEvents(workload, *collection->root(), model.sorted());
}

WatchedStore::WatchedStore(Spread eventsSpread, std::size_t domains) : spread(eventsSpread) {
  collection->setDomains(domainRecords(domains));
}

void WatchedStore::requireContent(std::string_view workload, const WorkloadModel& model) const {
  std::map<std::string, std::vector<WorkloadEvent>> expected;
  for (const WorkloadEvent& event : model.sorted()) {
    expected[std::string(domainOf(event, spread).string())].push_back(event);
  }
  const KRAVTWVItemArray& domains = *collection->root()->children();
  const auto known = collection->orderedDomains();
  require(domains.size() == known.elements().size(), workload, "a domain is missing");
  for (std::size_t i = 0; i < domains.size(); ++i) {
    const Value identifier = domains[i]->uniqueID();
    require(identifier == known.elements()[i][kTWDomainUniqueID], workload, "domains in disorder");
    requireEvents(workload, *domains[i], expected[std::string(identifier.string())], spread);
  }
}

void requireCounts(std::string_view workload, const NoticeCounts& counts,
                   const NoticeCounts& expected) {
  require(counts == expected, workload,
          "expected " + expected.description() + ", not " + counts.description());
}

void requireEvents(std::string_view workload, const KRAVTWVItemVexil& parent,
                   const std::vector<WorkloadEvent>& events, Spread spread) {
  require(std::ranges::equal(*parent.children(), events,
                             [spread](const auto& item, const WorkloadEvent& event) {
                               return item->uniqueID() == Value(event.uniqueID.view()) &&
                                      item->label() == Value(event.name.view()) &&
                                      item->enabled() == event.enabled &&
                                      item->representedObject() == recordOf(event, spread);
                             }),
          workload, "other events are shown than those of the model, or in another order");
}

std::uint64_t checksumOf(const KRAVTWVItemVexil& root) {
  Checksum checksum;
  for (const auto& item : root.recursiveChildren()) {
    if (const Value schedule = item->representedObject()["schedule"]; schedule.isDictionary()) {
      checksum.add(item->uniqueID().string());
      checksum.add(item->label().string());
      checksum.add(schedule["interval"].unsignedInteger().value());
    }
  }
  return checksum.sum();
}

std::vector<const KRAVTWVItemVexil*> addressesOf(const KRAVTWVItemVexil& root) {
  const KRAVTWVItemArray items = root.recursiveChildren();
  std::vector<const KRAVTWVItemVexil*> addresses(items.size());
  std::ranges::transform(items, addresses.begin(), [](const auto& item) { return item.get(); });
  return addresses;
}

std::size_t observedItems(const KRAVTWVItemVexil& root) {
  return static_cast<std::size_t>(std::ranges::count_if(
      root.recursiveChildren(), [](const auto& item) { return item->isObserved(); }));
}
