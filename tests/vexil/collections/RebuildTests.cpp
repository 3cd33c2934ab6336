// SPDX-License-Identifier: Apache-2.0
// A tree that a failed merge has left half done is built anew from what is stored.
#include "CollectionTesting.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::eventRecord;
using test::ItemPointer;
using test::Lines;
using test::outline;
using test::plainItem;
using test::records;
using test::TreeRecorder;

Value twice() {
  return records({eventRecord("1", "A"), eventRecord("1", "Z")});
}

TEST(Rebuild, OfAnEventListShowsWhatIsStoredWhateverTheMergeLeft) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(twice());
  const Value fresh = records({eventRecord("1", "A"), eventRecord("2", "B")});
  EXPECT_THROW(list->setEvents(fresh), platform::RangeError);
  list->setEvents(fresh);  // is held already, so nothing happens
  EXPECT_EQ(outline(list->root()), "root=[1=A 2=B 1=Z]");
  list->rebuildRootChildren();
  EXPECT_EQ(outline(list->root()), "root=[1=A 2=B]");
  list->setEvents(records({eventRecord("2", "B"), eventRecord("3", "C")}));
  EXPECT_EQ(outline(list->root()), "root=[2=B 3=C]");
}

TEST(Rebuild, SetsTheRootsChildrenOnce) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(records({eventRecord("1", "A"), eventRecord("2", "B")}));
  const auto before = *list->root()->children();
  const auto notices = TreeRecorder::of(list->root());
  const auto delegate = TreeRecorder::make();
  const auto observer = KRAVTWVItemsObserver::init();
  observer->setDelegate(delegate);
  observer->setRoot(list->root());
  list->rebuildRootChildren();
  EXPECT_EQ(notices->take(), Lines{"root children setting old=[1, 2] new=[1, 2]"});
  EXPECT_EQ(delegate->take(), (Lines{"report removal [1, 2] without indexes of root",
                                     "report setting [1, 2] without indexes of root"}));
  EXPECT_NE((*list->root()->children())[0], before[0]);
  // And the new items are followed.
  (*list->root()->children())[0]->replaceChildren(test::items({plainItem("below")}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [below] {0} of 1"});
}

TEST(Rebuild, OfAnEventStoreShowsItsRowsAndTheEventsOfALoneDomain) {
  const auto store = std::make_shared<KRAVTWVEventStoreVexil>();
  store->setDomains(records({test::domainRecord("A", "first"), test::domainRecord("B", "second")}));
  store->setEvents(records({test::eventOf("A", "1", "one"), test::eventOf("B", "2", "two")}));
  store->root()->setChildren(nullptr);
  store->rebuildRootChildren();
  EXPECT_EQ(outline(store->root()), "root=[A=first[1=one] B=second[2=two]]");
  store->setOrderedDomains(records({test::domainRecord("B", "second")}));
  store->rebuildRootChildren();
  EXPECT_EQ(outline(store->root()), "root=[2=two]");
  store->setEvents(records({test::eventOf("B", "3", "three")}));
  EXPECT_EQ(outline(store->root()), "root=[3=three]");
}

TEST(Rebuild, OfAnEngineShowsItsGroups) {
  const auto engine = std::make_shared<KRAVTWVEngineVexil>();
  engine->setAvailable(records({eventRecord("1", "A")}));
  const std::string shown = outline(engine->root());
  engine->root()->setChildren(test::items({plainItem("other")}));
  engine->rebuildRootChildren();
  EXPECT_EQ(outline(engine->root()), shown);
}

TEST(Rebuild, OfServicesShowsThemByDomain) {
  const auto services = std::make_shared<KRAVTWVServicesVexil>();
  services->addService(std::make_shared<platform::NetService>("alpha", "_a._tcp.", "local."));
  const std::string shown = outline(services->root());
  services->root()->setChildren(nullptr);
  services->rebuildRootChildren();
  EXPECT_EQ(outline(services->root()), shown);
  services->setGroupByDomain(true);
  services->rebuildRootChildren();
  EXPECT_EQ(outline(services->root()), "root=[local.=local.[local.:_a._tcp.:alpha=alpha]]");
}

TEST(Rebuild, WithoutARootDoesNothing) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setRoot(nullptr);
  list->rebuildRootChildren();
  EXPECT_EQ(list->root(), nullptr);
}

/// A host's own collection of texts.
class Texts : public KRAVTWVItemsVexil {
 public:
  std::vector<std::string> texts;

 protected:
  [[nodiscard]] std::shared_ptr<KRAVTWVItemArray> itemsOfInput() const override {
    auto items = std::make_shared<KRAVTWVItemArray>();
    for (const std::string& text : texts) {
      items->push_back(plainItem(text.c_str()));
    }
    return items;
  }
};

TEST(Rebuild, OfAHostsCollectionShowsItsItems) {
  const auto texts = std::make_shared<Texts>();
  texts->texts = {"a", "b"};
  texts->rebuildRootChildren();
  EXPECT_EQ(outline(texts->root()), "root=[a b]");
}

TEST(Rebuild, OfACollectionThatHoldsNoInputKeepsItsItems) {
  const auto plain = std::make_shared<KRAVTWVItemsVexil>();
  plain->replaceRootChildren(test::items({plainItem("a")}));
  plain->rebuildRootChildren();
  EXPECT_EQ(outline(plain->root()), "root=[a]");
}

}  // namespace
