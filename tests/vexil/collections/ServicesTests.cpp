// SPDX-License-Identifier: Apache-2.0
// Network services by their domain, in two shapes.
#include "CollectionTesting.h"

#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::NetService;
using platform::Value;
using test::briefly;
using test::ItemPointer;
using test::Lines;
using test::outline;
using test::service;
using test::ServicePointer;
using test::TreeRecorder;

using Collection = KRAVTWVServicesVexil;

static_assert(std::is_base_of_v<KRAVTWVItemsVexil, Collection>);

/// "local./alpha local./beta".
std::string held(const Collection& collection) {
  std::string text;
  for (const auto& each : *collection.sortedServices()) {
    text +=
        (text.empty() ? "" : " ") + each->domain().displayText() + "/" + each->name().displayText();
  }
  return text;
}

/// The labels of rows, those of a group's children in brackets: "Work. gamma local.[alpha]".
std::string labels(const KRAVTWVItemArray& rows) {
  std::string text;
  for (const auto& row : rows) {
    text += (text.empty() ? "" : " ") + row->label().displayText();
    if (!row->children()->empty()) {
      text += "[" + labels(*row->children()) + "]";
    }
  }
  return text;
}

// alpha and beta in "local.", gamma in "Work.":
//
//     groups                flat
//     ├── Work.             ├── local.
//     │   └── gamma         ├── alpha
//     └── local.            ├── beta
//         ├── alpha         ├── Work.
//         └── beta          └── gamma
struct Services : ::testing::Test {
  Services() {
    for (const char* key : {"sortedServices", "groupByDomain", "root"}) {
      recorder->watch(collection, key);
    }
    recorder->watch(root);
  }

  void add(const std::vector<ServicePointer>& services) {
    for (const auto& each : services) {
      collection->addService(each);
    }
  }
  void addAll() {
    add({beta, alpha, gamma});
    (void)recorder->take();
  }
  Lines notices() { return briefly(recorder->take()); }
  [[nodiscard]] std::string shown() const { return labels(*root->children()); }

  std::shared_ptr<Collection> collection = std::make_shared<Collection>();
  ItemPointer root = collection->root();
  std::shared_ptr<TreeRecorder> recorder = TreeRecorder::make();
  ServicePointer alpha = service("alpha", "local.");
  ServicePointer beta = service("beta", "local.");
  ServicePointer gamma = service("gamma", "Work.");
};

TEST_F(Services, BeginFlatWithoutServicesAndWithNothingBuilt) {
  EXPECT_FALSE(collection->groupByDomain());
  ASSERT_NE(collection->sortedServices(), nullptr);
  EXPECT_TRUE(collection->sortedServices()->empty());
  EXPECT_TRUE(root->children()->empty());
  EXPECT_NE(Collection().sortedServices(), Collection().sortedServices());
}

// --- adding and removing

TEST_F(Services, AreHeldByDomainAndThenByNameUpperCaseFirst) {
  add({beta, service("Zeta", "local."), gamma, alpha, service("a", "b."), service("b", "B.")});
  EXPECT_EQ(held(*collection), "B./b Work./gamma b./a local./Zeta local./alpha local./beta");
}

TEST_F(Services, OfOneDomainAndNameKeepTheOrderInWhichTheyCame) {
  const auto second = service("alpha", "local.", "_a.");
  add({alpha, beta, second});
  EXPECT_EQ(*collection->sortedServices(), (KRAVTWVNetServiceArray{alpha, second, beta}));
}

TEST_F(Services, AddedTwiceAreThereOnceAndRebuiltOnce) {
  collection->addService(alpha);
  (void)recorder->take();
  root->setChildren(nullptr);
  (void)recorder->take();
  collection->addService(alpha);
  collection->addService(service("alpha", "local."));
  EXPECT_EQ(recorder->take(), Lines{}) << "a rebuild would bring the rows back";
  EXPECT_EQ(*collection->sortedServices(), KRAVTWVNetServiceArray{alpha});
}

TEST_F(Services, ThatDifferInTheirTypeAloneAreTwo) {
  add({alpha, service("alpha", "local.", "_u.")});
  EXPECT_EQ(shown(), "local. alpha alpha");
}

TEST_F(Services, ThatWereNeverAddedAreRemovedWithoutATrace) {
  collection->removeService(alpha);
  addAll();
  collection->removeService(service("alpha", "local.", "_u."));
  collection->removeService(nullptr);
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(held(*collection), "Work./gamma local./alpha local./beta");
  root->setChildren(nullptr);
  collection->removeService(service("alpha", "elsewhere."));
  EXPECT_EQ(root->children(), nullptr) << "nothing is rebuilt";
}

TEST_F(Services, AreRemovedByAnEqualOne) {
  addAll();
  collection->removeService(service("alpha", "local."));
  EXPECT_EQ(held(*collection), "Work./gamma local./beta");
  EXPECT_EQ(notices(), Lines{"root children removal {1} old=[local.:_t.:alpha]"});
}

TEST_F(Services, RemovalTakesEveryEqualOneAndKeepsTheOrder) {
  collection->setSortedServices(std::make_shared<KRAVTWVNetServiceArray>(
      KRAVTWVNetServiceArray{beta, alpha, gamma, service("alpha", "local.")}));
  collection->removeService(alpha);
  EXPECT_EQ(held(*collection), "local./beta Work./gamma") << "not sorted again";
}

TEST_F(Services, AdditionSortsWhatAHostHasPutOutOfOrder) {
  collection->setSortedServices(
      std::make_shared<KRAVTWVNetServiceArray>(KRAVTWVNetServiceArray{beta, alpha}));
  collection->addService(gamma);
  EXPECT_EQ(held(*collection), "Work./gamma local./alpha local./beta");
}

TEST_F(Services, ChangeInPlaceAndUnannounced) {
  const auto array = collection->sortedServices();
  add({alpha, gamma});
  collection->removeService(alpha);
  EXPECT_EQ(collection->sortedServices(), array);
  EXPECT_EQ(*array, KRAVTWVNetServiceArray{gamma});
  EXPECT_EQ(notices(), (Lines{"root children insertion {0-1} new=[local., local.:_t.:alpha]",
                              "root children insertion {2-3} new=[Work., Work.:_t.:gamma]",
                              "root children removal {0-1} old=[local., local.:_t.:alpha]"}));
}

TEST_F(Services, AreStoredBeforeTheTreeIsTouched) {
  std::string seen;
  recorder->then = [&] { seen += held(*collection) + "; "; };
  add({alpha, beta});
  collection->removeService(alpha);
  EXPECT_EQ(seen, "local./alpha; local./alpha local./beta; local./beta; ");
}

TEST_F(Services, GivenByAReferenceIntoTheArrayItselfAreRemoved) {
  addAll();
  auto& array = *collection->sortedServices();
  collection->addService(array[1]);
  EXPECT_EQ(array.size(), 3U);
  collection->removeService(array[0]);
  EXPECT_EQ(held(*collection), "local./alpha local./beta");
  collection->removeService(array[0]);
  collection->removeService(array[0]);
  EXPECT_TRUE(array.empty());
  EXPECT_EQ(shown(), "");
}

TEST_F(Services, HeldByTheArrayAloneAreRemovedByAReferenceIntoIt) {
  collection->setRoot(nullptr);  // its items would hold them, too
  add({service("a", "d."), service("b", "d."), service("c", "d."), service("d", "d.")});
  auto& array = *collection->sortedServices();
  const std::weak_ptr<NetService> first = array[0];
  collection->removeService(array[0]);
  EXPECT_TRUE(first.expired());
  EXPECT_EQ(held(*collection), "d./b d./c d./d");
}

// --- the flat shape

TEST_F(Services, FlatShowOneServiceAsTwoRows) {
  collection->addService(alpha);
  ASSERT_EQ(root->children()->size(), 2U);
  const auto header = root->childAtIndex(0);
  EXPECT_NE(std::dynamic_pointer_cast<KRAVTWVNetDomainVexil>(header), nullptr);
  EXPECT_EQ(header->label(), Value("local."));
  EXPECT_EQ(header->uniqueID(), Value("local."));
  EXPECT_TRUE(header->children()->empty());
  const auto row = std::dynamic_pointer_cast<KRAVTWVNetServiceVexil>(root->childAtIndex(1));
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->netService(), alpha);
  EXPECT_EQ(row->parent(), nullptr);
}

TEST_F(Services, FlatStandUnderHeadersOrderedWithoutRegardToCase) {
  addAll();
  EXPECT_EQ(shown(), "local. alpha beta Work. gamma");
  for (const auto& row : *root->children()) {
    EXPECT_TRUE(row->children()->empty());
  }
}

TEST_F(Services, FlatDomainsThatDifferInCaseAloneKeepTheOrderOfTheirServices) {
  add({service("3", "LOCAL."), service("1", "local."), service("2", "Local."), gamma});
  EXPECT_EQ(shown(), "LOCAL. 3 Local. 2 local. 1 Work. gamma");
  collection->setSortedServices(std::make_shared<KRAVTWVNetServiceArray>(KRAVTWVNetServiceArray{
      service("a", "x."), service("b", "X."), service("c", "x."), service("d", "A.")}));
  root->setChildren(nullptr);
  collection->updateItemsForServices();
  EXPECT_EQ(shown(), "A. d x. a c X. b") << "whatever order a host gave them";
}

TEST_F(Services, FlatDomainsAreOrderedWithoutRegardToCaseBeyondAscii) {
  add({service("1", "\u00c9t\u00e9."), service("2", "\u00e9ta."), service("3", "z.")});
  EXPECT_EQ(shown(), "z. 3 \u00e9ta. 2 \u00c9t\u00e9. 1");
}

TEST_F(Services, WithinADomainStandAsTheyAreHeldInBothShapes) {
  add({service("a", "d."), service("B", "d."), service("b", "d."), service("A", "d.")});
  EXPECT_EQ(shown(), "d. A B a b");
  collection->setGroupByDomain(true);
  collection->updateItemsForServices();
  EXPECT_EQ(shown(), "d.[A B a b]");
  collection->setSortedServices(std::make_shared<KRAVTWVNetServiceArray>(
      KRAVTWVNetServiceArray{service("z", "d."), service("y", "d.")}));
  collection->updateItemsForServices();
  EXPECT_EQ(shown(), "d.[z y]");
}

TEST_F(Services, FlatTakeTheHeaderAwayWithTheLastOfADomain) {
  addAll();
  collection->removeService(gamma);
  EXPECT_EQ(notices(), Lines{"root children removal {3-4} old=[Work., Work.:_t.:gamma]"});
  collection->removeService(alpha);
  EXPECT_EQ(shown(), "local. beta");
}

// --- the grouped shape

TEST_F(Services, GroupedShowOneServiceInItsDomain) {
  collection->setGroupByDomain(true);
  collection->addService(alpha);
  ASSERT_EQ(root->children()->size(), 1U);
  const auto group = root->childAtIndex(0);
  EXPECT_NE(std::dynamic_pointer_cast<KRAVTWVNetDomainVexil>(group), nullptr);
  EXPECT_EQ(group->label(), Value("local."));
  EXPECT_EQ(group->uniqueID(), Value("local."));
  ASSERT_EQ(group->children()->size(), 1U);
  const auto row = std::dynamic_pointer_cast<KRAVTWVNetServiceVexil>(group->childAtIndex(0));
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->netService(), alpha);
  EXPECT_EQ(row->parent(), group);
}

TEST_F(Services, GroupedStandInDomainsOrderedByPlainComparison) {
  collection->setGroupByDomain(true);
  addAll();
  EXPECT_EQ(shown(), "Work.[gamma] local.[alpha beta]");
  // Also where a host has them in another order.
  collection->setSortedServices(
      std::make_shared<KRAVTWVNetServiceArray>(KRAVTWVNetServiceArray{beta, gamma, alpha}));
  root->setChildren(nullptr);
  collection->updateItemsForServices();
  EXPECT_EQ(shown(), "Work.[gamma] local.[beta alpha]");
}

TEST_F(Services, GroupedTakeTheGroupAwayWithTheLastOfADomain) {
  collection->setGroupByDomain(true);
  addAll();
  collection->removeService(gamma);
  EXPECT_EQ(notices(), Lines{"root children removal {0} old=[Work.]"});
  EXPECT_EQ(shown(), "local.[alpha beta]");
}

TEST_F(Services, GroupedKeepTheItemsThatStay) {
  collection->setGroupByDomain(true);
  add({beta});
  const auto group = root->childAtIndex(0);
  const auto row = group->childAtIndex(0);
  recorder->watch(group);
  add({alpha});
  EXPECT_EQ(notices(), (Lines{"groupByDomain", "root children insertion {0} new=[local.]",
                              "local. children insertion {0} new=[local.:_t.:alpha]",
                              "root children replacement {0} old=[local.] new=[local.]"}));
  EXPECT_EQ(root->childAtIndex(0), group);
  EXPECT_EQ(group->childAtIndex(1), row);
}

// --- the shape

TEST_F(Services, TakeANewShapeWithTheNextRebuild) {
  addAll();
  const auto rows = *root->children();
  collection->setGroupByDomain(true);
  EXPECT_EQ(recorder->take(),
            Lines{"KRAVTWVServicesVexil groupByDomain setting old=false new=true"});
  EXPECT_EQ(*root->children(), rows);
  collection->addService(alpha);
  EXPECT_EQ(*root->children(), rows) << "nothing was added";
  collection->updateItemsForServices();
  EXPECT_EQ(root->children()->size(), 2U);
  collection->setGroupByDomain(false);
  EXPECT_EQ(root->children()->size(), 2U);
  collection->removeService(gamma);
  EXPECT_EQ(shown(), "local. alpha beta");
  collection->setGroupByDomain(true);
  collection->addService(gamma);
  EXPECT_EQ(shown(), "Work.[gamma] local.[alpha beta]");
}

TEST_F(Services, InANewShapeGiveTheirDomainsOtherContentAndNoOtherLabels) {
  addAll();
  collection->setGroupByDomain(true);
  collection->updateItemsForServices();
  // The two rows that stay are paired by position, as in every merge, and labels are not merged.
  EXPECT_EQ(shown(), "local.[gamma] Work.[alpha beta]");
  EXPECT_EQ(root->childAtIndex(0)->representedObject(), Value("Work."));
}

// --- keys

TEST_F(Services, AreReadAndSetByKey) {
  addAll();
  EXPECT_EQ(collection->valueForKey("sortedServices"),
            Value::array({Value(gamma), Value(alpha), Value(beta)}));
  EXPECT_EQ(collection->valueForKey("groupByDomain"), Value(false));
  collection->setValueForKey(Value::array({Value(beta), Value(gamma)}), "sortedServices");
  EXPECT_EQ(*collection->sortedServices(), (KRAVTWVNetServiceArray{beta, gamma}));
  collection->setValueForKey(1, "groupByDomain");
  EXPECT_TRUE(collection->groupByDomain());
  EXPECT_EQ(notices(), (Lines{"sortedServices", "groupByDomain"}));
  EXPECT_EQ(shown(), "local. alpha beta Work. gamma") << "the tree stays";
  collection->setValueForKey({}, "sortedServices");
  EXPECT_EQ(collection->sortedServices(), nullptr);
  EXPECT_TRUE(collection->valueForKey("sortedServices").isAbsent());
}

TEST_F(Services, ThatAreReadByKeyDoNotChangeLater) {
  add({alpha});
  const Value before = collection->valueForKey("sortedServices");
  add({beta});
  EXPECT_EQ(before, Value::array({Value(alpha)}));
}

TEST_F(Services, AreNotSetToAnythingElseByKey) {
  addAll();
  for (const Value& other :
       {Value("text"), Value::null(), Value(alpha), Value::array({Value()}),
        Value::array({Value(alpha), Value("text")}), Value::array({Value(root)})}) {
    EXPECT_THROW(collection->setValueForKey(other, "sortedServices"), InvalidArgument);
  }
  for (const Value& other : {Value("true"), Value::null(), Value(), Value::array({})}) {
    EXPECT_THROW(collection->setValueForKey(other, "groupByDomain"), InvalidArgument);
  }
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(held(*collection), "Work./gamma local./alpha local./beta");
}

TEST_F(Services, OfAHostsArrayAreChangedInThatArray) {
  const auto array = std::make_shared<KRAVTWVNetServiceArray>();
  collection->setSortedServices(array);
  EXPECT_EQ(notices(), Lines{"sortedServices"});
  add({alpha});
  EXPECT_EQ(*array, KRAVTWVNetServiceArray{alpha});
}

// --- absent and bad input

TEST_F(Services, AreNotAbsent) {
  EXPECT_THROW(collection->addService(nullptr), InvalidArgument);
  EXPECT_TRUE(collection->sortedServices()->empty());
  EXPECT_EQ(recorder->take(), Lines{});
}

TEST_F(Services, WithoutAnArrayShowNothingAndBeginANewOneWithTheNext) {
  addAll();
  collection->setSortedServices(nullptr);
  (void)recorder->take();
  collection->removeService(alpha);
  EXPECT_EQ(recorder->take(), Lines{});
  collection->updateItemsForServices();
  EXPECT_EQ(shown(), "");
  (void)recorder->take();
  collection->addService(beta);
  EXPECT_EQ(notices(), Lines{"root children insertion {0-1} new=[local., local.:_t.:beta]"});
  EXPECT_EQ(held(*collection), "local./beta");
}

TEST_F(Services, WithoutADomainAreHeldAndRaiseUntilTheyAreRemoved) {
  addAll();
  for (const auto& lost : {std::make_shared<NetService>("lost", "_t.", Value()),
                           std::make_shared<NetService>("lost", "_t.", Value::null()),
                           std::make_shared<NetService>("lost", "_t.", 5)}) {
    EXPECT_THROW(collection->addService(lost), InvalidArgument);
    EXPECT_EQ(collection->sortedServices()->front(), lost) << "the value that sorts first";
    EXPECT_THROW(collection->updateItemsForServices(), InvalidArgument);
    EXPECT_THROW(collection->addService(service("delta", "local.")), InvalidArgument);
    EXPECT_EQ(recorder->take(), Lines{});
    collection->removeService(lost);
    collection->removeService(service("delta", "local."));
    EXPECT_EQ(shown(), "local. alpha beta Work. gamma");
    (void)recorder->take();
  }
}

TEST_F(Services, OfAnEmptyDomainStandUnderAnEmptyHeader) {
  add({service("a", ""), gamma});
  EXPECT_EQ(outline(root), "root=[= :_t.:a=a Work.=Work. Work.:_t.:gamma=gamma]");
}

TEST_F(Services, WithoutANameComeFirstInTheirDomain) {
  add({alpha, std::make_shared<NetService>(Value(), "_t.", "local.")});
  EXPECT_EQ(held(*collection), "local./(null) local./alpha");
  EXPECT_EQ(shown(), "local. (null) alpha");
}

// --- roots and observers that get in the way

TEST_F(Services, WithoutARootAreHeldAllTheSame) {
  collection->setRoot(nullptr);
  addAll();
  EXPECT_EQ(held(*collection), "Work./gamma local./alpha local./beta");
  const auto other = test::plainItem("other");
  collection->setRoot(other);
  collection->removeService(gamma);
  EXPECT_EQ(labels(*other->children()), "local. alpha beta");
}

TEST_F(Services, KeepTheirRoot) {
  addAll();
  collection->setGroupByDomain(true);
  collection->removeService(alpha);
  EXPECT_EQ(collection->root(), root);
}

TEST_F(Services, AnObserverThatRaisesLeavesTheServiceHeld) {
  addAll();
  recorder->then = [] { throw std::runtime_error("refused"); };
  EXPECT_THROW(collection->removeService(alpha), std::runtime_error);
  EXPECT_EQ(held(*collection), "Work./gamma local./beta");
  EXPECT_THROW(collection->addService(service("delta", "local.")), std::runtime_error);
  recorder->then = nullptr;
  EXPECT_EQ(held(*collection), "Work./gamma local./beta local./delta");
  collection->updateItemsForServices();
  EXPECT_EQ(shown(), "local. beta delta Work. gamma");
}

TEST_F(Services, AnObserverThatRaisesAtTheShapeLeavesItSet) {
  recorder->then = [] { throw std::runtime_error("refused"); };
  EXPECT_THROW(collection->setGroupByDomain(true), std::runtime_error);
  EXPECT_TRUE(collection->groupByDomain());
}

TEST_F(Services, AddedByAnObserverOfTheTreeAreShownAndEndTheOuterMerge) {
  recorder->then = [&] {
    recorder->then = nullptr;
    collection->addService(gamma);
  };
  EXPECT_THROW(collection->addService(alpha), platform::RangeError);
  EXPECT_EQ(held(*collection), "Work./gamma local./alpha");
  EXPECT_EQ(shown(), "local. alpha Work. gamma");
}

}  // namespace
