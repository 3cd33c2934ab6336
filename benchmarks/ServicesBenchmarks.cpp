// SPDX-License-Identifier: Apache-2.0
// What it costs to keep network services up to date: one more among many, in both shapes and with
// few or many domains, all one by one, and all in one burst. What an observer counts is checked.
#include <algorithm>
#include <compare>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "Benchmarks.h"
#include "Watched.h"

namespace platform = vexil::platform;

namespace {

using Service = std::shared_ptr<platform::NetService>;

/// Names and domains that are spread over the whole list, by odd factors.
KRAVTWVNetServiceArray servicesInDomains(std::size_t count, std::size_t domains) {
  KRAVTWVNetServiceArray services;
  services.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t domain = i * 104'729 % count % domains;
    services.push_back(std::make_shared<platform::NetService>(
        "service " + std::to_string(i * 7919 % count), "_sched._tcp.",
        domain == 0 ? "local." : "Building-" + std::to_string(domain) + ".example."));
  }
  return services;
}

struct Layout {
  bool isGrouped;
  std::size_t servicesOfDomain;  // 0 for a single domain
  std::string_view name;
};

constexpr Layout layouts[] = {
    {false, 0, "flat, one domain"},
    {true, 0, "grouped, one domain"},
    {false, 10, "flat, ten a domain"},
    {true, 10, "grouped, ten a domain"},
};

void addOneToMany(benchmark::State& state, const Layout& layout) {
  const std::size_t count = sizeOf(state);
  const std::size_t domains = layout.servicesOfDomain == 0 ? 1 : count / layout.servicesOfDomain;
  Watched<KRAVTWVServicesVexil> watched;
  auto held = std::make_shared<KRAVTWVNetServiceArray>(servicesInDomains(count, domains));
  std::ranges::stable_sort(*held, [](const Service& a, const Service& b) {
    const auto order = a->domain().compare(b->domain());
    return std::is_lt(std::is_neq(order) ? order : a->name().compare(b->name()));
  });
  watched.list->setGroupByDomain(layout.isGrouped);
  watched.list->setSortedServices(held);
  watched.list->updateItemsForServices();
  const auto another =
      std::make_shared<platform::NetService>("service 5", "_another._tcp.", "local.");
  // A group is replaced when something comes into it.
  const Counts expected{.inserted = 1, .replaced = layout.isGrouped ? 1U : 0U};
  for (auto _ : state) {
    watched.delegate->counts = {};
    timed(state, [&] { watched.list->addService(another); });
    if (watched.delegate->counts != expected) {
      state.SkipWithError("wrong count");
    }
    watched.list->removeService(another);
  }
}

/// The time is that of all, a service at a time.
void addOneByOne(benchmark::State& state) {
  const auto found = servicesInDomains(sizeOf(state), 1);
  for (auto _ : state) {
    Watched<KRAVTWVServicesVexil> watched;
    timed(state, [&] {
      for (const auto& service : found) {
        watched.list->addService(service);
      }
    });
    if (watched.delegate->counts != Counts{.inserted = found.size() + 1}) {
      state.SkipWithError("wrong count");
    }
  }
}

/// The cost of the rebuilds alone. Each service is put into its place while the clock stands.
void rebuildAsOften(benchmark::State& state) {
  const auto found = servicesInDomains(sizeOf(state), 1);
  for (auto _ : state) {
    Watched<KRAVTWVServicesVexil> watched;
    KRAVTWVNetServiceArray& held = *watched.list->sortedServices();
    double seconds = 0;
    for (const auto& service : found) {
      held.insert(std::ranges::upper_bound(held, service,
                                           [](const auto& a, const auto& b) {
                                             return std::is_lt(a->name().compare(b->name()));
                                           }),
                  service);
      seconds += secondsOf([&] { watched.list->updateItemsForServices(); });
    }
    state.SetIterationTime(seconds);
  }
}

/// All come at once, to a collection that is empty, and go at once.
void addAndRemoveAtOnce(benchmark::State& state) {
  const auto found = servicesInDomains(sizeOf(state), 1);
  for (auto _ : state) {
    Watched<KRAVTWVServicesVexil> watched;
    timed(state, [&] {
      watched.list->addServices(found);
      watched.list->removeServices(found);
    });
    if (watched.delegate->counts !=
        Counts{.removed = found.size() + 1, .inserted = found.size() + 1}) {
      state.SkipWithError("wrong count");
    }
  }
}

/// All come at once, to a collection that holds equal ones: nothing happens.
void addAtOnceWhatIsHeld(benchmark::State& state) {
  Watched<KRAVTWVServicesVexil> watched;
  watched.list->addServices(servicesInDomains(sizeOf(state), 1));
  const auto equal = servicesInDomains(sizeOf(state), 1);
  watched.delegate->counts = {};
  for (auto _ : state) {
    timed(state, [&] { watched.list->addServices(equal); });
  }
  if (watched.delegate->counts != Counts{}) {
    state.SkipWithError("wrong count");
  }
}

}  // namespace

void addServicesBenchmarks() {
  for (const Layout& layout : layouts) {
    benchmark::RegisterBenchmark(
        ("services: one more, " + std::string(layout.name)).c_str(),
        [&layout](benchmark::State& state) { addOneToMany(state, layout); })
        ->RangeMultiplier(10)
        ->Range(1'000, 100'000)
        ->UseManualTime()
        ->MinTime(0.2);
  }
  const auto add = [](const char* name, void (*run)(benchmark::State&)) {
    return benchmark::RegisterBenchmark(name, run)->RangeMultiplier(10)->UseManualTime();
  };
  // Not linear: in proportion to the square, since each addition rebuilds all.
  add("services: all added one by one", addOneByOne)->Range(1'000, 10'000)->Iterations(1);
  add("services: the rebuilds in that", rebuildAsOften)->Range(1'000, 10'000)->Iterations(1);
  add("services: all added and removed at once", addAndRemoveAtOnce)->Range(1'000, 100'000);
  add("services: all that are held added at once", addAtOnceWhatIsHeld)->Range(1'000, 100'000);
}
