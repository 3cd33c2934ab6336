// SPDX-License-Identifier: Apache-2.0
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/collections/Lists.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/detail/Operation.h>

#include <algorithm>
#include <compare>
#include <cstddef>
#include <iterator>
#include <memory>
#include <typeinfo>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;
using vexil::detail::requireArray;

namespace {

using Service = std::shared_ptr<platform::NetService>;

bool standsBefore(const Service& a, const Service& b) {
  if (a->domain().plainlyEquals(b->domain()) != true) {
    const auto domains = a->domain().compare(b->domain());
    if (std::is_neq(domains)) {
      return std::is_lt(domains);
    }
  }
  return std::is_lt(a->name().compare(b->name()));
}

/// Takes linear time when the order is right already.
template <class Range, class Before>
void sortStably(Range& range, const Before& before) {
  if (!std::ranges::is_sorted(range, before)) {
    std::ranges::stable_sort(range, before);
  }
}

/// Does what a stable sort of all services does. From index `added` on they are new.
void sortAdded(KRAVTWVNetServiceArray& services, std::size_t added) {
  const auto firstAdded = services.begin() + static_cast<std::ptrdiff_t>(added);
  if (!std::is_sorted(services.begin(), firstAdded, standsBefore)) {
    std::ranges::stable_sort(services, standsBefore);  // a host has changed the order
  } else if (services.end() - firstAdded == 1) {
    std::rotate(std::upper_bound(services.begin(), firstAdded, *firstAdded, standsBefore),
                firstAdded, services.end());
  } else {
    std::stable_sort(firstAdded, services.end(), standsBefore);
    std::inplace_merge(services.begin(), firstAdded, services.end(), standsBefore);
  }
}

/// Whether the equality of a service runs no foreign code.
bool isPlain(const platform::NetService& service) {
  const auto isText = [](const Value& part) { return part.isString() || part.isAbsent(); };
  return typeid(service) == typeid(platform::NetService) && isText(service.name()) &&
         isText(service.type()) && isText(service.domain());
}

/// Whether a held service says that it equals `sought`. May run foreign code.
bool areEqual(const Service& held, const platform::NetService& sought) {
  if (isPlain(*held)) {
    return held->hasValuesOf(sought);
  }
  // Foreign code may remove it from the array that `held` refers into.
  const Service asked = held;
  return asked->isEqual(sought);
}

/// Finds services by their hashes, and holds them.
class ServicesByHash {
 public:
  void insert(std::size_t hash, Service service) { _services.emplace(hash, std::move(service)); }

  /// Whether `isMeant`, which may run foreign code, returns true for a service with this hash.
  template <class IsMeant>
  [[nodiscard]] bool contains(std::size_t hash, const IsMeant& isMeant) const {
    const auto [first, last] = _services.equal_range(hash);
    return std::any_of(first, last, [&](const auto& entry) { return isMeant(*entry.second); });
  }

 private:
  std::unordered_multimap<std::size_t, Service> _services;
};

/// Those of `fresh` that equal no held one and none before them. Runs foreign code, so the caller
/// must hold both arrays.
KRAVTWVNetServiceArray newAmong(const KRAVTWVNetServiceArray& fresh,
                                const KRAVTWVNetServiceArray& held) {
  ServicesByHash known;
  for (const Service& service : held) {
    known.insert(service->hash(), service);
  }
  KRAVTWVNetServiceArray added;
  for (const Service& service : fresh) {
    const std::size_t hash = service->hash();
    if (!known.contains(hash, [&](const auto& other) { return other.isEqual(*service); })) {
      known.insert(hash, service);
      added.push_back(service);
    }
  }
  return added;
}

/// Those of `held` that equal one of `unwanted`, in which null pointers do not count. Runs foreign
/// code, so the caller must hold both arrays.
KRAVTWVNetServiceArray unwantedAmong(const KRAVTWVNetServiceArray& held,
                                     const KRAVTWVNetServiceArray& unwanted) {
  ServicesByHash sought;
  for (const Service& service : unwanted) {
    if (service) {
      sought.insert(service->hash(), service);
    }
  }
  KRAVTWVNetServiceArray found;
  std::ranges::copy_if(held, std::back_inserter(found), [&](const Service& service) {
    return sought.contains(service->hash(),
                           [&](const auto& other) { return service->isEqual(other); });
  });
  return found;
}

using Identities = std::unordered_set<const platform::NetService*>;

Identities identitiesOf(const KRAVTWVNetServiceArray& services) {
  Identities identities(services.size());
  for (const auto& service : services) {
    identities.insert(service.get());
  }
  return identities;
}

/// Those of `services` that are not in `array` as the same objects.
KRAVTWVNetServiceArray elementsNotIn(const KRAVTWVNetServiceArray& array,
                                     KRAVTWVNetServiceArray services) {
  if (services.size() == 1) {
    if (std::ranges::find(array, services.front()) != array.end()) {
      services.clear();
    }
    return services;
  }
  Identities missing = identitiesOf(services);
  for (const Service& service : array) {
    missing.erase(service.get());
  }
  std::erase_if(services, [&](const Service& each) { return !missing.contains(each.get()); });
  return services;
}

/// A domain and the items of its services.
struct ServicesOfDomain {
  Value domain;
  Value caseFolded;
  KRAVTWVItemArray services;
};

/// Throws `InvalidArgument` when the service has no domain.
void requireDomain(const Service& service) {
  if (!service->domain().isString()) {
    const Service described = service;  // held, because describing it runs foreign code
    throw platform::InvalidArgument("a network service needs a domain: " +
                                    described->description());
  }
}

/// The services by domain. Domains come in the order of their first services.
std::vector<ServicesOfDomain> byDomain(const KRAVTWVNetServiceArray& services) {
  std::vector<ServicesOfDomain> domains;
  std::unordered_map<Value, std::size_t> positions;
  std::size_t current = 0;
  for (const auto& service : services) {
    requireDomain(service);
    const Value& domain = service->domain();
    if (domains.empty() || domain != domains[current].domain) {
      const auto [position, isNew] = positions.emplace(domain, domains.size());
      if (isNew) {
        domains.push_back({domain, service->caseFoldedDomain(), {}});
      }
      current = position->second;
    }
    domains[current].services.push_back(KRAVTWVNetServiceVexil::itemWithNetService(service));
  }
  return domains;
}

/// Makes a group for each domain, with its services as children.
KRAVTWVItemArray groups(std::vector<ServicesOfDomain> domains) {
  sortStably(domains,
             [](const auto& a, const auto& b) { return std::is_lt(a.domain.compare(b.domain)); });
  KRAVTWVItemArray items;
  items.reserve(domains.size());
  for (const ServicesOfDomain& entry : domains) {
    items.push_back(KRAVTWVNetDomainVexil::itemWithNetDomain(entry.domain));
    items.back()->addChildren(entry.services);
  }
  return items;
}

/// Makes a header for each domain, followed by its services.
KRAVTWVItemArray rows(std::vector<ServicesOfDomain> domains, std::size_t services) {
  sortStably(domains, [](const auto& a, const auto& b) {
    return std::is_lt(a.caseFolded.compare(b.caseFolded));
  });
  KRAVTWVItemArray items;
  items.reserve(domains.size() + services);
  for (ServicesOfDomain& entry : domains) {
    items.push_back(KRAVTWVNetDomainVexil::itemWithNetDomain(entry.domain));
    std::ranges::move(entry.services, std::back_inserter(items));
  }
  return items;
}

}  // namespace

KRAVTWVServicesVexil::KRAVTWVServicesVexil() = default;

KRAVTWVServicesVexil::~KRAVTWVServicesVexil() = default;

void KRAVTWVServicesVexil::setGroupByDomain(bool groupByDomain) {
  static const Key key("groupByDomain");
  assign(key, _groupByDomain, groupByDomain);
}

void KRAVTWVServicesVexil::setGroupByDomainValue(const Value& groupByDomain) {
  if (!groupByDomain.isNumber()) {
    throw platform::InvalidArgument("not a boolean: " + groupByDomain.description());
  }
  setGroupByDomain(groupByDomain.booleanReading());
}

void KRAVTWVServicesVexil::setSortedServices(
    std::shared_ptr<KRAVTWVNetServiceArray> sortedServices) {
  static const Key key("sortedServices");
  assign(key, _sortedServices, std::move(sortedServices));
}

Value KRAVTWVServicesVexil::sortedServicesValue() const {
  const auto services = sortedServices();
  return services ? Value::arrayOfObjects(*services) : Value();
}

void KRAVTWVServicesVexil::setSortedServicesValue(const Value& sortedServices) {
  if (sortedServices.isAbsent()) {
    setSortedServices(nullptr);
    return;
  }
  requireArray(sortedServices);
  auto services = std::make_shared<KRAVTWVNetServiceArray>();
  for (const Value& element : sortedServices.elements()) {
    auto service = std::dynamic_pointer_cast<platform::NetService>(element.object());
    if (!service) {
      throw platform::InvalidArgument("not a network service: " + element.description());
    }
    services->push_back(std::move(service));
  }
  setSortedServices(std::move(services));
}

void KRAVTWVServicesVexil::addService(const Service& service) {
  const platform::detail::Operation operation;
  if (!service) {
    throw platform::InvalidArgument("an absent service cannot be added");
  }
  const auto self = weak_from_this().lock();
  const KRAVTWVNetServiceArray added{service};
  if (const auto services = sortedServices()) {
    for (std::size_t i = 0; i < services->size(); ++i) {
      if (areEqual((*services)[i], *added.front())) {
        return;
      }
    }
  }
  insertAndRebuild(added);
}

void KRAVTWVServicesVexil::addServices(const KRAVTWVNetServiceArray& services) {
  const platform::detail::Operation operation;
  if (std::ranges::find(services, nullptr) != services.end()) {
    throw platform::InvalidArgument("an absent service cannot be added");
  }
  const auto self = weak_from_this().lock();
  // Copies both arrays, because foreign code may change them.
  const KRAVTWVNetServiceArray fresh = services;
  const auto array = sortedServices();
  const KRAVTWVNetServiceArray held = array ? *array : KRAVTWVNetServiceArray();
  insertAndRebuild(newAmong(fresh, held));
}

void KRAVTWVServicesVexil::insertAndRebuild(const KRAVTWVNetServiceArray& added) {
  if (added.empty()) {
    return;
  }
  if (!sortedServices()) {
    auto started = std::make_shared<KRAVTWVNetServiceArray>();
    exchange(_sortedServices, started);
  }
  const auto services = sortedServices();
  // Foreign code may have added some of them while they were compared.
  const KRAVTWVNetServiceArray missing = elementsNotIn(*services, added);
  const std::size_t held = services->size();
  services->insert(services->end(), missing.begin(), missing.end());
  if (services->size() > held) {
    sortAdded(*services, held);
    updateItemsForServices();
  }
}

void KRAVTWVServicesVexil::removeService(const Service& service) {
  const platform::detail::Operation operation;
  const auto self = weak_from_this().lock();
  const auto services = sortedServices();
  // Copied, because `service` may refer into the array.
  const Service sought = service;
  if (!sought || !services) {
    return;
  }
  KRAVTWVNetServiceArray found;
  for (std::size_t i = 0; i < services->size(); ++i) {
    const Service held = (*services)[i];
    if (areEqual(held, *sought)) {
      found.push_back(held);
    }
  }
  eraseAndRebuild(found);
}

void KRAVTWVServicesVexil::removeServices(const KRAVTWVNetServiceArray& services) {
  const platform::detail::Operation operation;
  const auto self = weak_from_this().lock();
  const KRAVTWVNetServiceArray unwanted = services;
  const auto array = sortedServices();
  const KRAVTWVNetServiceArray held = array ? *array : KRAVTWVNetServiceArray();
  eraseAndRebuild(unwantedAmong(held, unwanted));
}

void KRAVTWVServicesVexil::eraseAndRebuild(const KRAVTWVNetServiceArray& found) {
  const auto services = sortedServices();
  if (found.empty() || !services) {
    return;
  }
  // The caller's array holds them, so no destructor runs in the middle.
  const Identities gone = identitiesOf(found);
  const auto isGone = [&](const Service& service) { return gone.contains(service.get()); };
  if (std::erase_if(*services, isGone) > 0) {
    updateItemsForServices();
  }
}

void KRAVTWVServicesVexil::updateItemsForServices() {
  const platform::detail::Operation operation;
  const auto self = weak_from_this().lock();
  replaceRootChildren(KRAVTWVServicesVexil::itemsOfInput());
}

std::shared_ptr<KRAVTWVItemArray> KRAVTWVServicesVexil::itemsOfInput() const {
  const auto services = sortedServices();
  std::vector<ServicesOfDomain> domains =
      services ? byDomain(*services) : std::vector<ServicesOfDomain>();
  return std::make_shared<KRAVTWVItemArray>(
      groupByDomain() ? groups(std::move(domains))
                      : rows(std::move(domains), services ? services->size() : 0));
}

const KeyTable& KRAVTWVServicesVexil::keyTable() const {
  using Services = KRAVTWVServicesVexil;
  static const KeyTable table(
      &itemsKeyTable(),
      {KeyAccess::readWrite<&Services::groupByDomain, &Services::setGroupByDomainValue>(
           "groupByDomain"),
       KeyAccess::readWrite<&Services::sortedServicesValue, &Services::setSortedServicesValue>(
           "sortedServices")});
  return table;
}
