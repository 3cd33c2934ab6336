// SPDX-License-Identifier: Apache-2.0
// Equality and hashes of objects, and observers, change what an operation works on. The address
// sanitizer checks that the operation uses no memory that is gone.
#include "ForeignCodeTesting.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::IndexSet;
using platform::RangeError;
using platform::Value;
using test::ForeignCode;
using test::Guest;
using test::identifiers;
using test::ItemPointer;
using test::plainItem;
using test::records;
using test::TreeRecorder;
using test::Turn;

// --- equality in the middle of a refresh

enum class Meddling { removes, setsOthers, setsNone, refreshes, adds };

class ForeignEquality : public ForeignCode, public testing::WithParamInterface<Meddling> {
 protected:
  /// What the guest does to the collection that holds it.
  void meddle(KRAVTWVItemsVexil& items) {
    const ItemPointer root = items.root();
    switch (GetParam()) {
      case Meddling::removes:
        if (root->children()) {
          root->removeChildrenAtIndexes(IndexSet::range(0, root->children()->size()));
        }
        break;
      case Meddling::setsOthers:
        root->setChildren(test::items({plainItem("other")}));
        break;
      case Meddling::setsNone:
        root->setChildren(nullptr);
        break;
      case Meddling::refreshes:
        items.replaceRootChildren(test::items({plainItem("2"), plainItem("9")}));
        break;
      case Meddling::adds:
        for (int i = 100; i < 200; ++i) {
          root->addChild(plainItem(std::to_string(i).c_str()));
        }
    }
  }
};

TEST_P(ForeignEquality, MayChangeTheEventListThatIsComparedInPlace) {
  atEveryCall([&](int skipped) {
    const auto list = std::make_shared<KRAVTWVEventsVexil>();
    list->setEvents(visitedEvents(6));
    turn.does([&] { meddle(*list); }, skipped);
    const bool hasCome = hasItsTurnIn([&] {
      list->setEvents(records({visited(1), visited(2), visited(3), visited(4), visited(5),
                               test::eventOf("A", 6, "name 6")}));
    });
    list->rebuildRootChildren();
    list->setEvents(visitedEvents(3));
    EXPECT_EQ(identifiers(*list->root()->children()), "[1, 2, 3]");
    return hasCome;
  });
}

TEST_P(ForeignEquality, MayRefreshAndChangeTheEventListThatIsCompared) {
  atEveryCall([&](int skipped) {
    const auto list = std::make_shared<KRAVTWVEventsVexil>();
    list->setEvents(visitedEvents(6));
    turn.does(
        [&] {
          list->setEvents(records({visited(2), visited(9)}));
          meddle(*list);
        },
        skipped);
    const bool hasCome = hasItsTurnIn([&] { list->setEvents(visitedEvents(7)); });
    list->rebuildRootChildren();
    list->setEvents(visitedEvents(3));
    EXPECT_EQ(identifiers(*list->root()->children()), "[1, 2, 3]");
    return hasCome;
  });
}

TEST_P(ForeignEquality, MayChangeTheEventListInWhichSomeCameAndWent) {
  atEveryCall([&](int skipped) {
    const auto list = std::make_shared<KRAVTWVEventsVexil>();
    list->setEvents(visitedEvents(6));
    turn.does([&] { meddle(*list); }, skipped);
    const bool hasCome = hasItsTurnIn([&] {
      list->setEvents(records(
          {visited(1), visited(2), visited(3), visited(4), visited(5), visited(7), visited(8)}));
    });
    list->rebuildRootChildren();
    list->setEvents(visitedEvents(3));
    EXPECT_EQ(identifiers(*list->root()->children()), "[1, 2, 3]");
    return hasCome;
  });
}

class ForeignEqualityInAStore : public ForeignEquality {
 protected:
  /// A store of two rows; the event that makes seven of them is in the second one.
  static std::shared_ptr<KRAVTWVEventStoreVexil> emptyStore() {
    auto store = std::make_shared<KRAVTWVEventStoreVexil>();
    store->setDomains(
        records({test::domainRecord("A", "first", {}), test::domainRecord("B", "second", {})}));
    return store;
  }
  Value events(int count) {
    std::vector<Value> all;
    for (int i = 1; i <= count; ++i) {
      all.push_back(visited(i, i % 2 == 0 ? "A" : "B"));
    }
    return records(std::move(all));
  }
};

TEST_P(ForeignEqualityInAStore, MayChangeTheRows) {
  atEveryCall([&](int skipped) {
    const auto store = emptyStore();
    store->setEvents(events(7));
    turn.does([&] { meddle(*store); }, skipped);
    const bool hasCome = hasItsTurnIn([&] { store->setEvents(events(6)); });
    store->rebuildRootChildren();
    store->setEvents(records({visited(1, "A"), visited(2, "B")}));
    EXPECT_EQ(test::outline(store->root()), "root=[A=first[1=name 1] B=second[2=name 2]]");
    return hasCome;
  });
}

TEST_P(ForeignEqualityInAStore, MayChangeTheEventsOfARow) {
  for (const std::size_t index : {0U, 1U}) {
    atEveryCall([&](int skipped) {
      const auto store = emptyStore();
      store->setEvents(events(7));
      turn.does(
          [&] {
            const ItemPointer row = store->root()->childAtIndex(index);
            if (GetParam() == Meddling::setsNone) {
              row->setChildren(nullptr);
            } else if (GetParam() == Meddling::setsOthers) {
              row->setChildren(test::items({plainItem("other")}));
            } else {
              row->children()->clear();
              row->children()->shrink_to_fit();
            }
          },
          skipped);
      return hasItsTurnIn([&] { store->setEvents(events(6)); });
    });
  }
}

TEST_P(ForeignEquality, MayChangeTheItemsThatAreMerged) {
  const auto items = [&](const char* last) {
    return test::items({visitedItem("1", {visitedItem("1.1"), visitedItem("1.2")}),
                        visitedItem("2"), visitedItem("3", {visitedItem("3.1"), visitedItem(last)}),
                        visitedItem(last)});
  };
  for (const char* last : {"4", "5"}) {
    atEveryCall([&](int skipped) {
      const auto list = std::make_shared<KRAVTWVEventsVexil>();  // for its root
      list->replaceRootChildren(items("4"));
      turn.does([&] { meddle(*list); }, skipped);
      return hasItsTurnIn([&] { list->replaceRootChildren(items(last)); });
    });
  }
}

TEST_P(ForeignEquality, MayChangeTheFreshItems) {
  const auto items = [&](const char* last) {
    return test::items({visitedItem("1", {visitedItem("1.1"), visitedItem("1.2")}),
                        visitedItem("2"), visitedItem("3"), visitedItem(last)});
  };
  atEveryCall([&](int skipped) {
    const auto root = plainItem("root");
    root->replaceChildren(items("4"));
    const auto fresh = items("4");
    turn.does(
        [&] {
          fresh->front()->setChildren(nullptr);
          fresh->clear();
          fresh->shrink_to_fit();
        },
        skipped);
    return hasItsTurnIn([&] { root->replaceChildren(fresh); });
  });
}

constexpr Meddling allMeddling[] = {Meddling::removes, Meddling::setsOthers, Meddling::setsNone,
                                    Meddling::refreshes, Meddling::adds};
INSTANTIATE_TEST_SUITE_P(AnyWay, ForeignEquality, testing::ValuesIn(allMeddling));
INSTANTIATE_TEST_SUITE_P(AnyWay, ForeignEqualityInAStore, testing::ValuesIn(allMeddling));

// --- equality by itself

TEST_F(ForeignCode, MayTakeApartTheItemsThatAreCompared) {
  atEveryCall([&](int skipped) {
    const auto left = visitedItem(
        "l", {visitedItem("l1", {visitedItem("l11"), visitedItem("l12")}), visitedItem("l2")});
    const auto right = visitedItem(
        "r", {visitedItem("r1", {visitedItem("r11"), visitedItem("r12")}), visitedItem("r2")});
    turn.does(
        [&] {
          for (const auto& item : {left, right}) {
            (*item->children())[0]->setChildren(nullptr);
            item->children()->clear();
            item->setChildren(nullptr);
            item->setRepresentedObject({});
          }
        },
        skipped);
    return hasItsTurnIn([&] { (void)left->isEqual(*right); });
  });
}

TEST_F(ForeignCode, MayLetGoOfBothItemsThatAreCompared) {
  auto left = visitedItem("l", {visitedItem("l1")});
  auto right = visitedItem("r", {visitedItem("r1")});
  turn.does([&] {
    left = nullptr;
    right = nullptr;
  });
  EXPECT_TRUE(left->isEqual(*right));
  EXPECT_TRUE(turn.hasCome());
}

TEST_F(ForeignCode, MayTakeApartTheItemsThatAreHashed) {
  atEveryCall([&](int skipped) {
    auto item = visitedItem("1", {visitedItem("1.1", {visitedItem("1.1.1"), visitedItem("1.1.2")}),
                                  visitedItem("1.2")});
    turn.does(
        [&] {
          item->children()->clear();
          item = nullptr;
        },
        skipped);
    return hasItsTurnIn([&] { (void)item->hash(); });
  });
}

// --- adding

TEST_F(ForeignCode, MayChangeTheChildrenToWhichOneIsAdded) {
  for (const bool byAnotherArray : {false, true}) {
    atEveryCall([&](int skipped) {
      const auto parent = plainItem("parent");
      *parent->children() = {visitedItem("1"), visitedItem("2"), visitedItem("3"),
                             visitedItem("4")};
      turn.does(
          [&] {
            byAnotherArray ? parent->setChildren(test::items({plainItem("other")}))
                           : parent->children()->clear();
          },
          skipped);
      const bool hasCome = hasItsTurnIn([&] { parent->addChild(visitedItem("5")); });
      EXPECT_EQ(identifiers(*parent->children()), hasCome && byAnotherArray ? "[other, 5]" : "[5]");
      return hasCome;
    });
  }
}

TEST_F(ForeignCode, MayLetGoOfTheItemToWhichOneIsAdded) {
  auto parent = plainItem("parent");
  *parent->children() = {visitedItem("1"), visitedItem("2")};
  turn.does([&] { parent = nullptr; });
  parent->addChild(visitedItem("3"));
  EXPECT_TRUE(turn.hasCome());
}

TEST_F(ForeignCode, MayChangeTheChildrenToWhichManyAreAdded) {
  atEveryCall([&](int skipped) {
    const auto parent = plainItem("parent");
    *parent->children() = {visitedItem("1"), visitedItem("2")};
    KRAVTWVItemArray added{visitedItem("3"), plainItem("4")};
    turn.does(
        [&] {
          parent->children()->clear();
          added.clear();
          added.shrink_to_fit();
        },
        skipped);
    const bool hasCome = hasItsTurnIn([&] { parent->addChildren(added); });
    EXPECT_EQ(identifiers(*parent->children()), "[3, 4]") << skipped;
    return hasCome;
  });
}

/// Equals all of its class when its turn has not come, and refuses then.
class Refusing : public platform::Object {
 public:
  explicit Refusing(bool refuses) : _refuses(refuses) {}
  [[nodiscard]] bool isEqual(const Object& other) const override {
    if (_refuses) {
      throw std::runtime_error("refused");
    }
    return dynamic_cast<const Refusing*>(&other) != nullptr;
  }
  [[nodiscard]] std::size_t hash() const override { return 1; }

 private:
  bool _refuses;
};

TEST_F(ForeignCode, ThatThrowsWhenChildrenAreAddedCostsNoChild) {
  for (const bool first : {true, false}) {
    const auto item = [](const char* uniqueID, bool refuses) {
      auto made = KRAVTWVItemVexil::itemWithRepresentedObject(std::make_shared<Refusing>(refuses));
      made->setUniqueID(uniqueID);
      return made;
    };
    const auto parent = plainItem("parent");
    *parent->children() = {item("1", first), item("2", !first)};
    EXPECT_THROW(parent->addChildren({plainItem("3"), item("4", false)}), std::runtime_error);
    EXPECT_EQ(identifiers(*parent->children()), "[1, 2, 3]");
  }
}

TEST_F(ForeignCode, ThatThrowsWhenItHearsOfAParentCostsNoChild) {
  const auto parent = plainItem("parent");
  *parent->children() = {plainItem("1"), plainItem("2")};
  const auto added = plainItem("1");
  const auto recorder = TreeRecorder::make();
  recorder->watch(added, "parent");
  recorder->then = [] { throw std::runtime_error("refused"); };
  EXPECT_THROW(parent->addChildren({added, plainItem("3")}), std::runtime_error);
  EXPECT_EQ(identifiers(*parent->children()), "[1, 2]");
}

// --- a collection that its observer lets go of

template <class Collection>
class ForeignObserver : public testing::Test {};

struct EventListInput {
  using Collection = KRAVTWVEventsVexil;
  static Value record() { return test::eventRecord(1, "name"); }
  static constexpr const char* inputs[] = {"events"};
  static constexpr const char* stored[] = {"sortedEvents"};
};
struct EventStoreInput {
  using Collection = KRAVTWVEventStoreVexil;
  static Value record() {
    return Value::dictionary({{kTWEventUniqueID, 1}, {kTWDomainUniqueID, "A"}});
  }
  static constexpr const char* inputs[] = {"domains", "events"};
  static constexpr const char* stored[] = {"orderedDomains", "sortedEvents"};
};
struct EngineInput {
  using Collection = KRAVTWVEngineVexil;
  static Value record() {
    return Value::dictionary(
        {{kTWEventUniqueID, 1}, {kTWActiveEventActiveID, 1}, {kTWQueuedTriggerTriggerID, 1}});
  }
  static constexpr const char* inputs[] = {"active", "pending", "available"};
  static constexpr const char* stored[] = {"activeEvents", "pendingTriggers", "onDemandAvailable"};
};
using Inputs = testing::Types<EventListInput, EventStoreInput, EngineInput>;
TYPED_TEST_SUITE(ForeignObserver, Inputs);

TYPED_TEST(ForeignObserver, MayLetGoOfTheCollectionWhenItsListIsStored) {
  for (std::size_t i = 0; i < std::size(TypeParam::inputs); ++i) {
    auto collection = std::make_shared<typename TypeParam::Collection>();
    const ItemPointer root = collection->root();
    const std::weak_ptr<platform::Observable> watched = collection;
    const auto observation =
        platform::observe(collection, TypeParam::stored[i], platform::ObservingOptions::none,
                          [&](const auto&) { collection = nullptr; });
    collection->setValueForKey(records({TypeParam::record()}), TypeParam::inputs[i]);
    EXPECT_TRUE(watched.expired());
  }
}

TEST_F(ForeignCode, MayLetGoOfTheCollectionWhileItsListIsCompared) {
  atEveryCall([&](int skipped) {
    auto list = std::make_shared<KRAVTWVEventsVexil>();
    const ItemPointer root = list->root();
    list->setEvents(visitedEvents(3));
    turn.does([&] { list = nullptr; }, skipped);
    const bool hasCome = hasItsTurnIn([&] { list->setEvents(visitedEvents(4)); });
    EXPECT_EQ(identifiers(*root->children()), "[1, 2, 3, 4]");
    return hasCome;
  });
}

TEST_F(ForeignCode, MayChangeTheVariableInWhichTheHostHandsOverItsList) {
  atEveryCall([&](int skipped) {
    const auto list = std::make_shared<KRAVTWVEventsVexil>();
    list->setEvents(visitedEvents(3));
    Value events = visitedEvents(4);
    turn.does([&] { events = Value(); }, skipped);
    const bool hasCome = hasItsTurnIn([&] { list->setEvents(events); });
    EXPECT_EQ(identifiers(*list->root()->children()), "[1, 2, 3, 4]");
    return hasCome;
  });
}

TEST_F(ForeignCode, MayChangeTheVariableInWhichTheHostHandsOverItsDomains) {
  const auto domain = [&](const char* uniqueID) {
    return Value::dictionary(
        {{kTWDomainUniqueID, uniqueID}, {"guest", std::make_shared<Guest>(turn)}});
  };
  atEveryCall([&](int skipped) {
    const auto store = std::make_shared<KRAVTWVEventStoreVexil>();
    store->setDomains(records({domain("A"), domain("B")}));
    Value domains = records({domain("A"), domain("C")});
    const Value same = domains;
    turn.does([&] { domains = Value(); }, skipped);
    const bool hasCome = hasItsTurnIn([&] { store->setDomains(domains); });
    EXPECT_TRUE(store->orderedDomains().sharesStorageWith(same));
    return hasCome;
  });
}

}  // namespace
