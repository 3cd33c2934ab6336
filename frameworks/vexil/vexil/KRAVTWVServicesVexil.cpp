// SPDX-License-Identifier: Apache-2.0
#include <platform/CaseFolding.h>
#include <platform/Error.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/RequireArray.h>

#include <algorithm>
#include <compare>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

using detail::requireArray;
using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;

namespace {

bool standsBefore(const std::shared_ptr<platform::NetService>& a,
                  const std::shared_ptr<platform::NetService>& b) {
  const auto domains = a->domain().compare(b->domain());
  return std::is_neq(domains) ? std::is_lt(domains) : std::is_lt(a->name().compare(b->name()));
}

auto equals(const platform::NetService& service) {
  return [&service](const auto& held) { return held->isEqual(service); };
}

/// A domain and the items of its services.
struct ServicesOfDomain {
  Value domain;
  KRAVTWVItemArray services;
};

/// The services by domain, domains in the order in which the first of each stands.
std::vector<ServicesOfDomain> byDomain(const KRAVTWVNetServiceArray& services) {
  std::vector<ServicesOfDomain> domains;
  std::unordered_map<std::string_view, std::size_t> positions;
  for (const auto& service : services) {
    auto item = KRAVTWVNetServiceVexil::itemWithNetService(service);
    const Value& domain = service->domain();
    if (!domain.isString()) {
      throw platform::InvalidArgument("a network service needs a domain: " +
                                      service->description());
    }
    const auto [position, isNew] = positions.emplace(domain.string(), domains.size());
    if (isNew) {
      domains.push_back({domain, {}});
    }
    domains[position->second].services.push_back(std::move(item));
  }
  return domains;
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

void KRAVTWVServicesVexil::addService(const std::shared_ptr<platform::NetService>& service) {
  if (!service) {
    throw platform::InvalidArgument("an absent service cannot be added");
  }
  if (!read(_sortedServices)) {
    auto started = std::make_shared<KRAVTWVNetServiceArray>();
    exchange(_sortedServices, started);
  }
  const auto services = sortedServices();
  if (std::ranges::any_of(*services, equals(*service))) {
    return;
  }
  services->push_back(service);
  std::ranges::stable_sort(*services, standsBefore);
  updateItemsForServices();
}

void KRAVTWVServicesVexil::removeService(const std::shared_ptr<platform::NetService>& service) {
  const auto services = sortedServices();
  // Held, because it may be a reference into the array.
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
  const auto sought = service;
  if (sought && services && std::erase_if(*services, equals(*sought)) > 0) {
    updateItemsForServices();
  }
}

void KRAVTWVServicesVexil::updateItemsForServices() {
  const auto services = sortedServices();
  std::vector<ServicesOfDomain> domains =
      services ? byDomain(*services) : std::vector<ServicesOfDomain>();
  auto items = std::make_shared<KRAVTWVItemArray>();
  if (groupByDomain()) {
    for (const ServicesOfDomain& entry : domains) {
      items->push_back(KRAVTWVNetDomainVexil::itemWithNetDomain(entry.domain));
      items->back()->addChildren(entry.services);
    }
    std::ranges::stable_sort(*items, [](const auto& a, const auto& b) {
      return std::is_lt(a->label().compare(b->label()));
    });
  } else {
    std::ranges::stable_sort(domains, {}, [](const ServicesOfDomain& entry) {
      return platform::caseFolded(entry.domain.string());
    });
    for (const ServicesOfDomain& entry : domains) {
      items->push_back(KRAVTWVNetDomainVexil::itemWithNetDomain(entry.domain));
      items->insert(items->end(), entry.services.begin(), entry.services.end());
    }
  }
  replaceRootChildren(std::move(items));
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
