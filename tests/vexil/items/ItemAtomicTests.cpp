// SPDX-License-Identifier: Apache-2.0
// Every property is read and set on several threads at once. A fault shows as a report of the
// thread sanitizer, or as a value that no thread has set.
#include "tests/vexil/ItemTesting.h"

#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <atomic>
#include <functional>
#include <thread>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::items;
using test::plainItem;

constexpr int rounds = 2000;

/// Runs all of them at once, each in a thread of its own, `rounds` times.
void atOnce(const std::vector<std::function<void(int)>>& bodies) {
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  threads.reserve(bodies.size());
  for (const auto& body : bodies) {
    threads.emplace_back([&go, &body] {
      while (!go) {
        std::this_thread::yield();
      }
      for (int round = 0; round < rounds; ++round) {
        body(round);
      }
    });
  }
  go = true;
  for (auto& thread : threads) {
    thread.join();
  }
}

// Long enough to be shared by count, and different from each other in every character.
const Value left(std::string(40, 'l'));
const Value right(std::string(40, 'r'));

bool isOneOfBoth(const Value& value) {
  return value == left || value == right;
}

/// A property of this type under this key, on several threads.
template <class Class>
void valueProperty(const std::shared_ptr<Class>& item, const char* name,
                   Value (Class::*get)() const, void (Class::*set)(Value)) {
  const platform::Key key(name);
  ((*item).*set)(left);
  std::atomic<int> wrong{0};
  const auto check = [&](const Value& value) { wrong += isOneOfBoth(value) ? 0 : 1; };
  atOnce({
      [&](int) { ((*item).*set)(left); },
      [&](int) { ((*item).*set)(right); },
      [&](int) { item->setValueForKey(left, key); },
      [&](int) { check(((*item).*get)()); },
      [&](int) { check(item->valueForKey(key)); },
  });
  EXPECT_EQ(wrong, 0);
}

TEST(ItemAtomicity, OfTheIdentifier) {
  valueProperty(plainItem("item"), "uniqueID", &KRAVTWVItemVexil::uniqueID,
                &KRAVTWVItemVexil::setUniqueID);
}

TEST(ItemAtomicity, OfTheLabel) {
  valueProperty(plainItem("item"), "label", &KRAVTWVItemVexil::label, &KRAVTWVItemVexil::setLabel);
}

TEST(ItemAtomicity, OfTheRepresentedObject) {
  valueProperty(plainItem("item"), "representedObject", &KRAVTWVItemVexil::representedObject,
                &KRAVTWVItemVexil::setRepresentedObject);
}

TEST(ItemAtomicity, OfTheParent) {
  const auto item = plainItem("item");
  const auto first = plainItem("first");
  std::atomic<int> wrong{0};
  const auto check = [&](const std::shared_ptr<platform::Object>& parent) {
    wrong += parent == nullptr || parent == first ||
                     std::static_pointer_cast<KRAVTWVItemVexil>(parent)->label() == left
                 ? 0
                 : 1;
  };
  atOnce({
      [&](int) { item->setParent(first); },
      [&](int) { item->setParent(nullptr); },
      [&](int) {  // a parent that is gone at once
        const auto passing = plainItem("passing");
        passing->setLabel(left);
        item->setParent(passing);
      },
      [&](int) { check(item->parent()); },
      [&](int) { check(item->valueForKey("parent").object()); },
  });
  EXPECT_EQ(wrong, 0);
}

TEST(ItemAtomicity, OfTheChildrenAndWhatFollowsFromThem) {
  const auto item = plainItem("item");
  const auto none = std::make_shared<KRAVTWVItemArray>();
  const auto one = items({plainItem("child")});
  std::atomic<int> wrong{0};
  atOnce({
      [&](int) { item->setChildren(none); },
      [&](int) { item->setChildren(one); },
      [&](int) { item->setChildren(nullptr); },
      [&](int) {
        const auto children = item->children();
        // The first read, before any set, makes the empty array of the item's own.
        wrong += !children || children->size() <= 1 ? 0 : 1;
      },
      [&](int) {
        const Value children = item->valueForKey("children");
        wrong += children.isAbsent() || children.elements().size() <= 1 ? 0 : 1;
      },
      [&](int) { (void)item->isGroup(); },
      [&](int) { (void)item->isExpandable(); },
  });
  EXPECT_EQ(wrong, 0);
}

TEST(ItemAtomicity, OfTheFirstReadOfTheChildren) {
  for (int i = 0; i < 200; ++i) {
    const auto item = plainItem("item");
    std::shared_ptr<KRAVTWVItemArray> first;
    std::shared_ptr<KRAVTWVItemArray> second;
    std::thread other([&] { first = item->children(); });
    second = item->children();
    other.join();
    ASSERT_NE(first, nullptr);
    ASSERT_EQ(first, second) << "both got the one array";
  }
}

/// Sets the flag that this class only reads.
class Switch : public KRAVTWVKind<Switch, KRAVTWVGroupVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  void turn(bool on) { _enabled = on; }
};

TEST(ItemAtomicity, OfTheEnabledFlag) {
  const auto item = Switch::itemWithLabelUniqueID("Label", "g");
  atOnce({
      [&](int round) { item->turn(round % 2 == 0); },
      [&](int) { (void)item->enabled(); },
      [&](int) { (void)item->valueForKey("enabled"); },
      [&](int) { (void)item->supportsEnabled(); },
  });
  EXPECT_FALSE(item->enabled()) << "the last round turned it off";
}

TEST(ItemAtomicity, OfWhatAKindDerivesFromItsRecord) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(test::eventRecord(left, left, true));
  std::atomic<int> wrong{0};
  atOnce({
      [&](int) { event->setRepresentedObject(test::eventRecord(left, left, true)); },
      [&](int) { event->setRepresentedObject(test::eventRecord(right, right, false)); },
      [&](int) { wrong += isOneOfBoth(event->label()) && isOneOfBoth(event->uniqueID()) ? 0 : 1; },
      [&](int) {
        const Value record = event->representedEvent();
        wrong += (record[kTWEventName] == left) == (record[kTWEventEnabled] == Value(true)) ? 0 : 1;
      },
      [&](int) { (void)event->enabled(); },
  });
  EXPECT_EQ(wrong, 0);
}

TEST(ItemAtomicity, OfTheNetService) {
  const auto first = std::make_shared<platform::NetService>("a", "a", "a");
  const auto second = std::make_shared<platform::NetService>("b", "b", "b");
  const auto item = KRAVTWVNetServiceVexil::itemWithNetService(first);
  std::atomic<int> wrong{0};
  atOnce({
      [&](int) { item->setNetService(first); },
      [&](int) { item->setNetService(second); },
      [&](int) { item->setNetService(nullptr); },
      [&](int) {
        const auto service = item->netService();
        wrong += !service || service == first || service == second ? 0 : 1;
      },
      [&](int) { (void)item->valueForKey("netService"); },
      [&](int) {  // three values of one service
        const Value identifier = item->uniqueID();
        wrong += identifier == Value("a:a:a") || identifier == Value("b:b:b") ||
                         identifier == Value("(null):(null):(null)")
                     ? 0
                     : 1;
      },
      [&](int) { (void)item->label(); },
      [&](int) { (void)item->domain(); },
  });
  EXPECT_EQ(wrong, 0);
}

// --- observers

TEST(TreeAtomicity, OfAnObserverOfTreesOnEveryThread) {
  // The trees share the lists that the observer stands in.
  const auto observer = std::make_shared<platform::Observer>();
  static constexpr platform::ContextToken context("context");
  std::atomic<int> wrong{0};
  const auto comeAndGo = [&](int round) {
    const auto tree = plainItem("root", {plainItem("a", {plainItem("b")}), plainItem("c")});
    const auto add = [&] {
      tree->addObserverForRecursiveChildrenWithOptionContext(
          observer, platform::ObservingOptions::both, &context);
    };
    add();
    if (round % 2 == 0) {
      add();
      tree->removeObserverForRecursiveChildrenWithContext(observer, &context);
    }
    if (round % 3 != 0) {
      tree->removeObserverForRecursiveChildrenWithContext(observer, &context);
    }
    wrong += tree->isObserved() == (round % 3 == 0) ? 0 : 1;
  };
  atOnce({comeAndGo, comeAndGo, comeAndGo, comeAndGo});
  EXPECT_EQ(wrong, 0);
}

// --- collections

TEST(CollectionAtomicity, OfTheRoot) {
  const auto collection = std::make_shared<KRAVTWVItemsVexil>();
  const auto first = plainItem("first");
  std::atomic<int> wrong{0};
  const auto check = [&](const std::shared_ptr<platform::Object>& root) {
    const auto item = std::static_pointer_cast<KRAVTWVItemVexil>(root);
    wrong += !item || item == first || item->uniqueID() == Value("passing") ? 0 : 1;
  };
  collection->setRoot(first);
  atOnce({
      [&](int) { collection->setRoot(first); },
      [&](int) { collection->setRoot(nullptr); },
      [&](int) { collection->setRoot(plainItem("passing")); },
      [&](int) { check(collection->root()); },
      [&](int) { check(collection->valueForKey("root").object()); },
  });
  EXPECT_EQ(wrong, 0);
}

TEST(CollectionAtomicity, OfTheEvents) {
  using Events = KRAVTWVEventsVexil;
  valueProperty(std::make_shared<Events>(), "sortedEvents", &Events::sortedEvents,
                &Events::setSortedEvents);
}

TEST(CollectionAtomicity, OfTheEventStore) {
  using Store = KRAVTWVEventStoreVexil;
  const auto store = std::make_shared<Store>();
  valueProperty(store, "orderedDomains", &Store::orderedDomains, &Store::setOrderedDomains);
  valueProperty(store, "sortedEvents", &Store::sortedEvents, &Store::setSortedEvents);
}

TEST(CollectionAtomicity, OfTheEngineState) {
  using Engine = KRAVTWVEngineVexil;
  const auto engine = std::make_shared<Engine>();
  valueProperty(engine, "activeEvents", &Engine::activeEvents, &Engine::setActiveEvents);
  valueProperty(engine, "pendingTriggers", &Engine::pendingTriggers, &Engine::setPendingTriggers);
  valueProperty(engine, "onDemandAvailable", &Engine::onDemandAvailable,
                &Engine::setOnDemandAvailable);
}

TEST(CollectionAtomicity, OfTheServicesAndTheirShape) {
  const auto collection = std::make_shared<KRAVTWVServicesVexil>();
  const auto service = std::make_shared<platform::NetService>("a", "a", "a");
  const auto two =
      std::make_shared<KRAVTWVNetServiceArray>(KRAVTWVNetServiceArray{service, service});
  std::atomic<int> wrong{0};
  atOnce({
      [&](int) { collection->setSortedServices(two); },
      [&](int) { collection->setSortedServices(nullptr); },
      [&](int) {  // an array that is gone at once
        collection->setSortedServices(std::make_shared<KRAVTWVNetServiceArray>(*two));
      },
      [&](int) {
        const auto services = collection->sortedServices();
        wrong += !services || services->size() % 2 == 0 ? 0 : 1;
      },
      [&](int) {
        const Value services = collection->valueForKey("sortedServices");
        wrong += services.elements().size() % 2 == 0 ? 0 : 1;
      },
      [&](int round) { collection->setGroupByDomain(round % 2 == 0); },
      [&](int) { (void)collection->groupByDomain(); },
      [&](int) { wrong += collection->valueForKey("groupByDomain").boolean() ? 0 : 1; },
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_FALSE(collection->groupByDomain()) << "the last round made it so";
}

}  // namespace
