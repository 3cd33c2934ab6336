// SPDX-License-Identifier: Apache-2.0
// Many network services added and removed at once, and what each way of adding announces.
#include "CollectionTesting.h"
#include "tests/support/Property.h"

#include <vexil/platform/CaseFolding.h>
#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <compare>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::NetService;
using platform::Value;
using test::ItemPointer;
using test::Lines;
using test::outline;
using test::service;
using test::ServicePointer;
using test::TreeRecorder;

using Collection = KRAVTWVServicesVexil;
using Services = KRAVTWVNetServiceArray;

struct ServicesInABurst : ::testing::Test {
  ServicesInABurst() { recorder->watch(root); }

  /// What adding and removing announced since the last call.
  Lines notices() { return recorder->take(); }

  std::shared_ptr<Collection> collection = std::make_shared<Collection>();
  ItemPointer root = collection->root();
  std::shared_ptr<TreeRecorder> recorder = TreeRecorder::make();
  ServicePointer alpha = service("alpha", "local.");
  ServicePointer beta = service("beta", "local.");
  ServicePointer gamma = service("gamma", "Work.");
};

TEST_F(ServicesInABurst, AreAddedWithOneRebuild) {
  collection->addServices({beta, gamma, alpha});
  EXPECT_EQ(*collection->sortedServices(), (Services{gamma, alpha, beta}));
  EXPECT_EQ(notices(), Lines{"root children insertion {0-4} new=[local., local.:_t.:alpha, "
                             "local.:_t.:beta, Work., Work.:_t.:gamma]"});
}

TEST_F(ServicesInABurst, AreMergedIntoThoseThatAreHeld) {
  collection->addServices({beta});
  (void)notices();
  collection->addServices({alpha, service("beta", "local."), gamma});
  EXPECT_EQ(*collection->sortedServices(), (Services{gamma, alpha, beta}));
  EXPECT_EQ(
      notices(),
      Lines{"root children insertion {1, 3-4} new=[local.:_t.:alpha, Work., Work.:_t.:gamma]"});
}

TEST_F(ServicesInABurst, AreRemovedWithOneRebuild) {
  collection->addServices({beta, gamma, alpha});
  (void)notices();
  collection->removeServices({service("gamma", "Work."), service("alpha", "local.")});
  EXPECT_EQ(*collection->sortedServices(), Services{beta});
  EXPECT_EQ(notices(),
            Lines{"root children removal {1, 3-4} old=[local.:_t.:alpha, Work., Work.:_t.:gamma]"});
}

TEST_F(ServicesInABurst, RebuildNothingWhenNothingChanges) {
  collection->addServices({alpha});
  root->setChildren(nullptr);
  (void)notices();
  collection->addServices({});
  collection->addServices({alpha, service("alpha", "local."), alpha});
  collection->removeServices({});
  collection->removeServices({beta, gamma, service("alpha", "local.", "_u.")});
  EXPECT_EQ(notices(), Lines{});
  EXPECT_EQ(root->children(), nullptr) << "a rebuild would bring the rows back";
}

TEST_F(ServicesInABurst, StandOnceAndTheFirstOfEqualOnesStays) {
  const auto first = service("delta", "local.");
  collection->addServices({first, alpha, service("delta", "local."), alpha, first});
  EXPECT_EQ(*collection->sortedServices(), (Services{alpha, first}));
  EXPECT_EQ(root->children()->size(), 3U);
}

TEST_F(ServicesInABurst, OfOneDomainAndNameStandInTheOrderInWhichTheyCame) {
  const auto b = service("same", "local.", "_b.");
  const auto a = service("same", "local.", "_a.");
  const auto d = service("same", "local.", "_d.");
  const auto c = service("same", "local.", "_c.");
  collection->addServices({b, a});
  collection->addServices({d, alpha, c});
  EXPECT_EQ(*collection->sortedServices(), (Services{alpha, b, a, d, c}));
}

TEST_F(ServicesInABurst, SortWhatAHostHasPutOutOfOrder) {
  collection->setSortedServices(std::make_shared<Services>(Services{beta, alpha}));
  collection->addServices({gamma});
  EXPECT_EQ(*collection->sortedServices(), (Services{gamma, alpha, beta}));
  std::swap((*collection->sortedServices())[0], (*collection->sortedServices())[2]);
  const auto first = service("a", "a.");
  const auto last = service("z", "z.");
  collection->addServices({last, first});
  EXPECT_EQ(*collection->sortedServices(), (Services{gamma, first, alpha, beta, last}));
}

TEST_F(ServicesInABurst, RemovalTakesEveryEqualOneAndKeepsTheOrder) {
  collection->setSortedServices(std::make_shared<Services>(
      Services{beta, alpha, gamma, service("alpha", "local."), service("c", "a.")}));
  collection->removeServices({alpha, service("c", "a.")});
  EXPECT_EQ(*collection->sortedServices(), (Services{beta, gamma}));
}

TEST_F(ServicesInABurst, MayBeTheArrayThatIsHeldItself) {
  collection->addServices({alpha, beta, gamma});
  const auto array = collection->sortedServices();
  (void)notices();
  collection->addServices(*array);
  EXPECT_EQ(notices(), Lines{});
  collection->removeServices(*array);
  EXPECT_TRUE(array->empty());
  EXPECT_TRUE(root->children()->empty());
  EXPECT_EQ(collection->sortedServices(), array) << "changed in place";
}

TEST_F(ServicesInABurst, AreNotAbsentWhenTheyAreAdded) {
  collection->addServices({alpha});
  (void)notices();
  EXPECT_THROW(collection->addServices({beta, nullptr, gamma}), InvalidArgument);
  EXPECT_EQ(*collection->sortedServices(), Services{alpha});
  EXPECT_EQ(notices(), Lines{});
}

TEST_F(ServicesInABurst, AreSkippedWhereTheyAreAbsentAndToBeRemoved) {
  collection->addServices({alpha, beta});
  collection->removeServices({nullptr, alpha, nullptr});
  EXPECT_EQ(*collection->sortedServices(), Services{beta});
}

TEST_F(ServicesInABurst, WithoutAnArrayBeginANewOne) {
  collection->setSortedServices(nullptr);
  collection->removeServices({alpha});
  collection->addServices({});
  EXPECT_EQ(collection->sortedServices(), nullptr);
  collection->addServices({beta, alpha});
  EXPECT_EQ(*collection->sortedServices(), (Services{alpha, beta}));
}

TEST_F(ServicesInABurst, WithoutADomainAreHeldWithAllOthersAndThrowUntilTheyAreRemoved) {
  const auto lost = std::make_shared<NetService>("lost", "_t.", Value());
  EXPECT_THROW(collection->addServices({alpha, lost, beta}), InvalidArgument);
  EXPECT_EQ(*collection->sortedServices(), (Services{lost, alpha, beta}));
  EXPECT_THROW(collection->removeServices({beta}), InvalidArgument);
  EXPECT_EQ(*collection->sortedServices(), (Services{lost, alpha}));
  EXPECT_EQ(notices(), Lines{});
  collection->removeServices({lost});
  EXPECT_EQ(outline(root), "root=[local.=local. local.:_t.:alpha=alpha]");
}

/// A host's service. It equals others of the same name, even if their hashes differ.
class NamedService : public NetService {
 public:
  NamedService(Value name, Value type) : NetService(std::move(name), std::move(type), "local.") {}
  [[nodiscard]] bool isEqual(const platform::Object& other) const override {
    ++asked;
    const auto* service = dynamic_cast<const NamedService*>(&other);
    return service != nullptr && service->name() == name();
  }
  [[nodiscard]] std::size_t hash() const override { return hashOfAll; }

  static inline std::size_t hashOfAll = 7;
  static inline std::size_t asked = 0;
};

TEST_F(ServicesInABurst, AreEqualAsTheySayThemselvesAndNotAsTheirHashesDo) {
  const auto one = std::make_shared<NamedService>("one", "_a.");
  const auto two = std::make_shared<NamedService>("two", "_a.");
  collection->addServices({one, two, std::make_shared<NamedService>("one", "_b.")});
  EXPECT_EQ(*collection->sortedServices(), (Services{one, two}));
  collection->removeServices({std::make_shared<NamedService>("two", "_c.")});
  EXPECT_EQ(*collection->sortedServices(), Services{one});
}

TEST_F(ServicesInABurst, AskOnlyServicesOfTheirHash) {
  struct Distinct : NamedService {
    using NamedService::NamedService;
    [[nodiscard]] std::size_t hash() const override { return name().hash(); }
  };
  Services held;
  Services fresh;
  for (int i = 0; i < 500; ++i) {
    held.push_back(std::make_shared<Distinct>(std::to_string(i), "_a."));
    fresh.push_back(std::make_shared<Distinct>(std::to_string(i + 250), "_b."));
  }
  collection->setSortedServices(std::make_shared<Services>(std::move(held)));
  NamedService::asked = 0;
  collection->addServices(fresh);
  EXPECT_EQ(collection->sortedServices()->size(), 750U);
  EXPECT_LE(NamedService::asked, 300U) << "250 are held";
  NamedService::asked = 0;
  collection->removeServices(fresh);
  EXPECT_EQ(collection->sortedServices()->size(), 250U);
  EXPECT_LE(NamedService::asked, 600U);
}

// --- against a model

/// A plain model of the collection: it compares each with each, sorts all and rebuilds all.
class Model {
 public:
  void add(const ServicePointer& service) {
    if (insert(service)) {
      rebuild();
    }
  }
  void remove(const ServicePointer& service) {
    if (erase(service)) {
      rebuild();
    }
  }
  void addMany(const Services& many) {
    bool hasChanged = false;
    for (const auto& each : many) {
      hasChanged = insert(each) || hasChanged;
    }
    if (hasChanged) {
      rebuild();
    }
  }
  void removeMany(const Services& many) {
    bool hasChanged = false;
    for (const auto& each : many) {
      hasChanged = erase(each) || hasChanged;
    }
    if (hasChanged) {
      rebuild();
    }
  }

  void rebuild() const {
    std::map<std::string, KRAVTWVItemArray> ofDomain;
    std::vector<std::string> domains;
    for (const auto& each : services) {
      const std::string domain(each->domain().string());
      if (ofDomain[domain].empty()) {
        domains.push_back(domain);
      }
      ofDomain[domain].push_back(KRAVTWVNetServiceVexil::itemWithNetService(each));
    }
    std::ranges::stable_sort(domains, [&](const std::string& a, const std::string& b) {
      return isGrouped ? a < b : platform::caseFolded(a) < platform::caseFolded(b);
    });
    auto rows = std::make_shared<KRAVTWVItemArray>();
    for (const std::string& domain : domains) {
      rows->push_back(KRAVTWVNetDomainVexil::itemWithNetDomain(domain));
      if (isGrouped) {
        rows->back()->addChildren(ofDomain[domain]);
      } else {
        rows->insert(rows->end(), ofDomain[domain].begin(), ofDomain[domain].end());
      }
    }
    root->replaceChildren(rows);
  }

  Services services;
  bool isGrouped = false;
  ItemPointer root = KRAVTWVGroupVexil::itemWithLabelUniqueID("", "root");

 private:
  bool insert(const ServicePointer& service) {
    for (const auto& each : services) {
      if (each->isEqual(*service)) {
        return false;
      }
    }
    services.push_back(service);
    std::ranges::stable_sort(services, [](const auto& a, const auto& b) {
      const auto domains = a->domain().compare(b->domain());
      return std::is_neq(domains) ? std::is_lt(domains) : std::is_lt(a->name().compare(b->name()));
    });
    return true;
  }
  bool erase(const ServicePointer& service) {
    return std::erase_if(services, [&](const auto& each) { return each->isEqual(*service); }) > 0;
  }
};

ServicePointer anyService() {
  // Names and domains longer than what a value holds by itself, and such that differ in case alone.
  const auto name = *rc::gen::element("a", "A", "b", "\u00c9", "a name of more than twenty-three",
                                      "a name of more than twenty-four");
  const auto type = *rc::gen::element("t.", "u.");
  const auto domain = *rc::gen::element("local.", "LOCAL.", "Local.", "Work.", "\u00e9ta.",
                                        "\u00c9t\u00e9.", "a domain of many characters.");
  return service(name, domain, type);
}

Services anyServices() {
  Services services;
  for (int i = *rc::gen::inRange(0, 8); i > 0; --i) {
    services.push_back(anyService());
  }
  return services;
}

PROPERTY(AnyServicesInTurn, AreHeldShownAndAnnouncedAsByASimplerCollection, ()) {
  const auto collection = std::make_shared<Collection>();
  Model model;
  const auto recorder = TreeRecorder::make();
  const auto recorderOfModel = TreeRecorder::make();
  const auto observer = KRAVTWVItemsObserver::init();
  const auto observerOfModel = KRAVTWVItemsObserver::init();
  observer->setDelegate(recorder);
  observer->setRoot(collection->root());
  observerOfModel->setDelegate(recorderOfModel);
  observerOfModel->setRoot(model.root);
  for (int step = 0; step < 24; ++step) {
    switch (*rc::gen::weightedElement<int>({{8, 0}, {5, 1}, {5, 2}, {3, 3}, {1, 4}, {1, 5}})) {
      case 0: {
        const auto each = anyService();
        collection->addService(each);
        model.add(each);
        break;
      }
      case 1: {
        const auto each = anyService();
        collection->removeService(each);
        model.remove(each);
        break;
      }
      case 2: {
        const auto many = anyServices();
        collection->addServices(many);
        model.addMany(many);
        break;
      }
      case 3: {
        const auto many = anyServices();
        collection->removeServices(many);
        model.removeMany(many);
        break;
      }
      case 4:
        // A host puts the array out of order; nothing is rebuilt.
        std::ranges::reverse(*collection->sortedServices());
        std::ranges::reverse(model.services);
        break;
      default:
        collection->setGroupByDomain(!collection->groupByDomain());
        model.isGrouped = !model.isGrouped;
        collection->updateItemsForServices();
        model.rebuild();
    }
    RC_ASSERT(*collection->sortedServices() == model.services);
    RC_ASSERT(recorder->take() == recorderOfModel->take());
    RC_ASSERT(outline(collection->root()) == outline(model.root));
  }
  observer->setRoot(nullptr);
  observerOfModel->setRoot(nullptr);
}

}  // namespace
