// SPDX-License-Identifier: Apache-2.0
// Network services with code of the host, and observers, that change the collection meanwhile.
#include "CollectionTesting.h"

#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::NetService;
using platform::Object;
using platform::Value;
using test::outline;
using test::ServicePointer;
using test::TreeRecorder;

using Collection = KRAVTWVServicesVexil;

struct Refused : std::runtime_error {
  Refused() : std::runtime_error("refused") {}
};

/// An action that runs once in the middle of an operation, at a call of a given number.
struct Plan {
  int callsBefore = 0;
  int calls = 0;
  std::function<void()> action;

  void run() {
    if (calls++ == callsBefore && action) {
      std::exchange(action, nullptr)();
    }
  }
};

/// A host's own kind of service.
class HostService : public NetService {
 public:
  HostService(Value name, Value domain) : NetService(std::move(name), "_t.", std::move(domain)) {}
  HostService(const HostService&) = delete;
  HostService& operator=(const HostService&) = delete;
  ~HostService() override { run(atEnd); }

  [[nodiscard]] bool isEqual(const Object& other) const override {
    run(inEquality);
    return NetService::isEqual(other);
  }
  [[nodiscard]] std::size_t hash() const override {
    run(inHash);
    return NetService::hash();
  }
  [[nodiscard]] std::string description() const override {
    run(inDescription);
    return "a host's service " + name().displayText();
  }

  Plan* inEquality = nullptr;
  Plan* inHash = nullptr;
  Plan* inDescription = nullptr;
  Plan* atEnd = nullptr;

 private:
  static void run(Plan* plan) {
    if (plan != nullptr) {
      plan->run();
    }
  }
};

/// Five services of a host, a to e, in two domains, and what is done to their collection.
struct Host {
  explicit Host(bool isGrouped) {
    collection->setGroupByDomain(isGrouped);
    for (const char* name : {"a", "b", "c", "d", "e"}) {
      held.push_back(std::make_shared<HostService>(name, *name < 'c' ? "Work." : "local."));
      collection->addService(held.back());
    }
  }
  ~Host() { watch(nullptr); }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  void watch(Plan* plan) {
    for (const auto& each : held) {
      each->inEquality = inEquality ? plan : nullptr;
      each->inHash = inEquality ? nullptr : plan;
    }
    equalOfC->inEquality = another->inEquality = inEquality ? plan : nullptr;
    equalOfC->inHash = another->inHash = inEquality ? nullptr : plan;
  }

  std::shared_ptr<Collection> collection = std::make_shared<Collection>();
  std::vector<std::shared_ptr<HostService>> held;
  std::shared_ptr<HostService> equalOfC = std::make_shared<HostService>("c", "local.");
  std::shared_ptr<HostService> another = std::make_shared<HostService>("bb", "Work.");
  bool inEquality = true;
};

struct Act {
  const char* name;
  std::function<void(Host&)> run;
};

/// What a host may do to the collection in the middle of one of its operations.
const std::vector<Act>& acts() {
  static const std::vector<Act> all = {
      {"adds many",
       [](Host& host) {
         for (int i = 0; i < 20; ++i) {
           host.collection->addService(std::make_shared<NetService>(
               "more " + std::to_string(i), "_t.", i % 2 == 0 ? "A." : "z."));
         }
       }},
      {"adds the same",
       [](Host& host) {
         host.collection->addService(host.another);
         host.collection->removeService(host.equalOfC);
       }},
      {"removes all",
       [](Host& host) {
         for (const auto& each : host.held) {
           host.collection->removeService(each);
         }
       }},
      {"lets go of the services",
       [](Host& host) {
         host.watch(nullptr);
         host.collection->sortedServices()->clear();
         host.collection->setSortedServices(nullptr);
         host.collection->root()->setChildren(nullptr);
         host.held.clear();
         host.equalOfC.reset();
         host.another.reset();
         host.equalOfC = host.another = std::make_shared<HostService>("other", "other.");
       }},
      {"clears the array",
       [](Host& host) {
         host.collection->sortedServices()->clear();
         host.collection->sortedServices()->shrink_to_fit();
       }},
      {"sets another array",
       [](Host& host) {
         host.collection->setSortedServices(std::make_shared<KRAVTWVNetServiceArray>(
             KRAVTWVNetServiceArray{host.held[3], host.held[0]}));
       }},
      {"sets no array", [](Host& host) { host.collection->setSortedServices(nullptr); }},
      {"rebuilds", [](Host& host) { host.collection->updateItemsForServices(); }},
      {"lets go of the root", [](Host& host) { host.collection->setRoot(nullptr); }},
      {"lets go of the collection", [](Host& host) { host.collection.reset(); }},
      {"lets go of all",
       [](Host& host) {
         host.watch(nullptr);
         host.collection.reset();
         host.held.clear();
         host.equalOfC.reset();
         host.another.reset();
         host.equalOfC = host.another = std::make_shared<HostService>("other", "other.");
       }},
      {"throws", [](Host&) { throw Refused(); }},
  };
  return all;
}

struct Operation : Act {
  bool asksForHashes;  // in the flat or the grouped shape
};

/// Operations that call code of services. Their arguments refer to what the host may destroy.
const std::vector<Operation>& operations() {
  static const std::vector<Operation> all = {
      {{"adds another", [](Host& host) { host.collection->addService(host.another); }}, true},
      {{"adds an equal one", [](Host& host) { host.collection->addService(host.equalOfC); }},
       false},
      {{"adds many",
        [](Host& host) {
          host.collection->addServices({host.equalOfC, host.another, host.held[0], host.another});
        }},
       true},
      {{"removes by an equal one",
        [](Host& host) { host.collection->removeService(host.equalOfC); }},
       true},
      {{"removes by a reference into the array",
        [](Host& host) {
          host.collection->removeService((*host.collection->sortedServices())[2]);
        }},
       true},
      {{"removes what is not held",
        [](Host& host) { host.collection->removeService(host.another); }},
       false},
      {{"removes many",
        [](Host& host) {
          host.collection->removeServices({host.equalOfC, nullptr, host.another, host.held[0]});
        }},
       true},
      {{"removes all",
        [](Host& host) { host.collection->removeServices(*host.collection->sortedServices()); }},
       true},
  };
  return all;
}

/// Expects that a collection shows what a new one would show of the same services.
void expectShownAsBuiltAnew(Collection& collection) {
  if (!collection.root()) {
    collection.setRoot(Collection().root());
  }
  collection.updateItemsForServices();
  Collection fresh;
  fresh.setGroupByDomain(collection.groupByDomain());
  fresh.setSortedServices(collection.sortedServices());
  fresh.updateItemsForServices();
  EXPECT_EQ(outline(collection.root()), outline(fresh.root()));
}

/// Returns whether the host's code ran.
bool runsInTheMiddle(const Operation& operation, const Act& act, int callsBefore, bool isGrouped,
                     bool inEquality) {
  SCOPED_TRACE(std::string(operation.name) + ", and a service " + act.name + " at call " +
               std::to_string(callsBefore) + (isGrouped ? ", grouped" : ", flat") +
               (inEquality ? ", in its equality" : ", in its hash"));
  Host host(isGrouped);
  host.inEquality = inEquality;
  const std::weak_ptr<Collection> watched = host.collection;
  Plan plan{callsBefore, 0, [&] { act.run(host); }};
  host.watch(&plan);
  try {
    operation.run(host);
    EXPECT_TRUE(plan.action || std::string(act.name) != "throws");
  } catch (const Refused&) {
    EXPECT_STREQ(act.name, "throws");
  } catch (const platform::RangeError&) {
    EXPECT_TRUE(plan.calls > callsBefore);
  }
  host.watch(nullptr);
  if (host.collection) {
    expectShownAsBuiltAnew(*host.collection);
  } else {
    EXPECT_TRUE(watched.expired());
  }
  return plan.calls > callsBefore;
}

class ServicesThatInterfere : public ::testing::TestWithParam<std::tuple<Operation, Act>> {
 protected:
  /// At the first, a middle and the last call, in both shapes. Returns whether the host's code ran.
  static bool run(bool inEquality) {
    const auto& [operation, act] = GetParam();
    bool hasRun = false;
    for (const bool isGrouped : {false, true}) {
      for (const int callsBefore : {0, 1, 2, 3, 4, 5, 6}) {
        hasRun = runsInTheMiddle(operation, act, callsBefore, isGrouped, inEquality) || hasRun;
      }
    }
    return hasRun;
  }
};

TEST_P(ServicesThatInterfere, InTheirEqualityLeaveTheCollectionSound) {
  EXPECT_TRUE(run(true));
}

TEST_P(ServicesThatInterfere, InTheirHashLeaveTheCollectionSound) {
  EXPECT_EQ(run(false), std::get<0>(GetParam()).asksForHashes);
}

std::string nameOf(const ::testing::TestParamInfo<std::tuple<Operation, Act>>& info) {
  std::string name = std::string(std::get<0>(info.param).name) + "_" + std::get<1>(info.param).name;
  std::ranges::replace(name, ' ', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(AnyOperation, ServicesThatInterfere,
                         ::testing::Combine(::testing::ValuesIn(operations()),
                                            ::testing::ValuesIn(acts())),
                         nameOf);

TEST(ServicesInForeignHands, MayChangeTheListWhenOneGoes) {
  const auto collection = std::make_shared<Collection>();
  collection->setRoot(nullptr);  // its items would hold them
  Plan plan;
  for (const char* name : {"a", "b", "c", "d"}) {
    auto service = std::make_shared<HostService>(name, "local.");
    service->atEnd = std::string_view(name) == "b" ? &plan : nullptr;
    collection->addService(service);
  }
  plan.action = [&] {
    for (const char* name : {"1", "2", "3", "4", "5", "6"}) {
      collection->addService(std::make_shared<NetService>(name, "_t.", "local."));
    }
    collection->removeService((*collection->sortedServices())[6]);
  };
  collection->removeService(std::make_shared<NetService>("b", "_t.", "local."));
  EXPECT_EQ(plan.calls, 1);
  std::string names;
  for (const auto& each : *collection->sortedServices()) {
    names += each->name().string();
  }
  EXPECT_EQ(names, "123456cd");
}

TEST(ServicesInForeignHands, MayClearTheListWhenOneWithoutADomainIsDescribed) {
  const auto collection = std::make_shared<Collection>();
  Plan plan;
  plan.action = [&] {
    collection->sortedServices()->clear();
    collection->sortedServices()->shrink_to_fit();
  };
  {
    auto lost = std::make_shared<HostService>("lost", Value());
    lost->inDescription = &plan;
    collection->sortedServices()->push_back(std::move(lost));
  }
  EXPECT_THROW(collection->updateItemsForServices(), platform::InvalidArgument);
  EXPECT_EQ(plan.calls, 1);
}

TEST(ServicesInForeignHands, AreAddedAndRemovedThoughAnObserverLetsGoOfTheCollection) {
  for (const bool isGrouped : {false, true}) {
    for (const bool adds : {true, false}) {
      Host host(isGrouped);
      const auto root = host.collection->root();
      const std::weak_ptr<Collection> watched = host.collection;
      const auto recorder = TreeRecorder::of(root);
      recorder->then = [&] { host.collection.reset(); };
      if (adds) {
        host.collection->addService(std::make_shared<NetService>("f", "_t.", "other."));
      } else {
        host.collection->removeService(host.held.front());
      }
      EXPECT_TRUE(watched.expired());
      EXPECT_EQ(root->children()->size(), isGrouped ? (adds ? 3U : 2U) : (adds ? 9U : 6U));
    }
  }
}

}  // namespace
