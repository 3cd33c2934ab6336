// SPDX-License-Identifier: Apache-2.0
// Adding and removing children, access by position, and the walk over all descendants.
#include "tests/support/Property.h"
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <algorithm>
#include <set>

namespace platform = vexil::platform;

namespace {

using platform::IndexSet;
using platform::Value;
using test::identifiers;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::plainItem;
using test::TreeRecorder;

// --- adding one

TEST(AddChild, AppendsItAndSetsItsParent) {
  const auto root = plainItem("root");
  const auto a = plainItem("a");
  const auto b = plainItem("b");
  root->addChild(a);
  root->addChild(b);
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{a, b}));
  EXPECT_EQ(a->parent(), root);
  EXPECT_EQ(b->parent(), root);
}

TEST(AddChild, AgainMovesItToTheEnd) {
  const auto a = plainItem("a");
  const auto root = plainItem("root", {a, plainItem("b"), plainItem("c")});
  root->addChild(a);
  EXPECT_EQ(identifiers(*root->children()), "[b, c, a]");
  EXPECT_EQ(root->childAtIndex(2), a);
}

TEST(AddChild, RemovesEveryChildThatEqualsIt) {
  const auto root = plainItem("root");
  root->setChildren(items({plainItem("a"), plainItem("b"), plainItem("a")}));
  const auto fresh = plainItem("a");
  root->addChild(fresh);
  EXPECT_EQ(identifiers(*root->children()), "[b, a]");
  EXPECT_EQ(root->childAtIndex(1), fresh);
}

TEST(AddChild, GoesByContentAndNotByIdentifier) {
  const auto old = plainItem("a");
  const auto root = plainItem("root", {old, plainItem("b")});
  const auto otherName = plainItem("a");
  otherName->setUniqueID("z");
  const auto otherContent = plainItem("a");
  otherContent->setRepresentedObject("other");
  root->addChild(otherName);
  EXPECT_EQ(identifiers(*root->children()), "[b, z]");
  root->addChild(otherContent);
  EXPECT_EQ(identifiers(*root->children()), "[b, z, a]");
}

TEST(AddChild, AsksTheChildrenThatAreThereAndNotTheNewOne) {
  const auto plain = plainItem("x");
  const auto group = KRAVTWVGroupVexil::itemWithLabelUniqueID("X", "x");
  const auto root = plainItem("root", {plain});
  root->addChild(group);  // the plain item equals the group
  EXPECT_EQ(*root->children(), KRAVTWVItemArray{group});
  root->addChild(plain);  // the group does not equal the plain item
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{group, plain}));
}

TEST(AddChild, MovesAnItemThatRepresentsNothingButKeepsOthersLikeIt) {
  const auto nothing = KRAVTWVItemVexil::itemWithRepresentedObject({});
  const auto another = KRAVTWVItemVexil::itemWithRepresentedObject({});
  const auto root = plainItem("root");
  root->addChild(nothing);
  root->addChild(another);
  root->addChild(nothing);
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{another, nothing}));
}

TEST(AddChild, TakesAnElementOfTheItemsOwnArray) {
  const auto a = plainItem("a");
  const auto b = plainItem("b");
  const auto root = plainItem("root", {a, b});
  root->addChild(root->children()->front());  // a reference into what is being changed
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{b, a}));
  root->addChild(root->children()->back());
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{b, a}));
}

TEST(AddChild, LeavesTheOldParentsChildrenAlone) {
  const auto child = plainItem("child");
  const auto first = plainItem("first", {child});
  const auto second = plainItem("second", {child});
  EXPECT_EQ(child->parent(), second);
  EXPECT_EQ(*first->children(), KRAVTWVItemArray{child});
}

TEST(AddChild, LeavesTheParentOfAChildThatGivesWayAlone) {
  const auto old = plainItem("a");
  const auto root = plainItem("root", {old});
  root->addChild(plainItem("a"));
  EXPECT_EQ(old->parent(), root);
}

TEST(AddChild, AnnouncesNothingAboutChildren) {
  const auto root = plainItem("root", {plainItem("a")});
  const auto b = plainItem("b");
  const auto notices = TreeRecorder::of(root, {"children", "isGroup", "isExpandable"});
  root->addChild(b);
  root->addChild(b);
  root->addChildren({plainItem("c"), plainItem("a")});
  EXPECT_EQ(notices->take(), Lines{});
  EXPECT_EQ(identifiers(*root->children()), "[b, c, a]");
}

TEST(AddChild, AnnouncesTheNewParentToWhoeverWatchesTheChild) {
  const auto root = plainItem("root");
  const auto child = plainItem("child");
  const auto notices = TreeRecorder::of(child, {"parent"});
  root->addChild(child);
  EXPECT_EQ(notices->take(), Lines{"child parent setting old=<null> new=root"});
}

TEST(AddChild, SetsTheParentAfterRemovingEqualsAndBeforeAppending) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  const auto fresh = plainItem("a");
  std::string seen;
  const auto observation = platform::observe(
      fresh, "parent", platform::ObservingOptions::none,
      [&](const platform::ChangeRecord&) { seen += identifiers(*root->children()); });
  root->addChild(fresh);
  EXPECT_EQ(seen, "[b]");
  EXPECT_EQ(identifiers(*root->children()), "[b, a]");
}

TEST(AddChild, RefusesANullPointer) {
  const auto root = plainItem("root", {plainItem("a")});
  EXPECT_THROW(root->addChild(nullptr), platform::InvalidArgument);
  EXPECT_EQ(identifiers(*root->children()), "[a]");
}

// --- adding many

TEST(AddChildren, AddsEachInOrder) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  root->addChildren({plainItem("c"), plainItem("a"), plainItem("d")});
  EXPECT_EQ(identifiers(*root->children()), "[b, c, a, d]");
  for (const auto& child : *root->children()) {
    EXPECT_EQ(child->parent(), root);
  }
}

TEST(AddChildren, OfNoneChangesNothing) {
  const auto root = plainItem("root", {plainItem("a")});
  root->addChildren({});
  EXPECT_EQ(identifiers(*root->children()), "[a]");
}

TEST(AddChildren, TakesTheItemsOwnArray) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b"), plainItem("c")});
  root->addChildren(*root->children());
  EXPECT_EQ(identifiers(*root->children()), "[a, b, c]");
}

TEST(AddChildren, StopsAtANullPointer) {
  const auto root = plainItem("root");
  EXPECT_THROW(root->addChildren({plainItem("a"), nullptr, plainItem("b")}),
               platform::InvalidArgument);
  EXPECT_EQ(identifiers(*root->children()), "[a]");
}

/// Equals those of its number, and counts how often one is asked.
class Counting : public platform::Object {
 public:
  Counting(int number, int& asked) : _number(number), _asked(asked) {}
  [[nodiscard]] bool isEqual(const Object& other) const override {
    ++_asked;
    const auto* counting = dynamic_cast<const Counting*>(&other);
    return counting != nullptr && counting->_number == _number;
  }
  [[nodiscard]] std::size_t hash() const override { return static_cast<std::size_t>(_number); }

 private:
  int _number;
  int& _asked;
};

TEST(AddChildren, AsksOnlyTheItemsThatCanBeEqual) {
  constexpr int count = 500;
  int asked = 0;
  const auto number = [&](int i) {
    return KRAVTWVItemVexil::itemWithRepresentedObject(std::make_shared<Counting>(i, asked));
  };
  KRAVTWVItemArray twice;
  for (int i = 0; i < 2 * count; ++i) {
    twice.push_back(number(i % count));
  }
  const auto root = plainItem("root");
  root->addChildren(twice);
  EXPECT_EQ(root->children()->size(), count);
  EXPECT_EQ(asked, count);
  // The same again: each replaces itself, and nothing asks it whether it equals itself.
  const KRAVTWVItemArray same = *root->children();
  root->addChildren(same);
  EXPECT_EQ(*root->children(), same);
  EXPECT_EQ(asked, count);
}

/// Items of a few classes and contents. Many are equal, some of them in one direction only.
ItemPointer anyItem() {
  const Value object = *rc::gen::element(Value(), Value("x"), Value("y"), Value(1), Value(1.0));
  ItemPointer item;
  switch (*rc::gen::inRange(0, 4)) {
    case 0:
      item = KRAVTWVGroupVexil::itemWithRepresentedObject(object);
      break;
    case 1:
      item = KRAVTWVOnDemandVexil::itemWithRepresentedObject(object);
      break;
    case 2:
      item = KRAVTWVEventVexil::itemWithRepresentedObject(object);
      break;
    default:
      item = KRAVTWVItemVexil::itemWithRepresentedObject(object);
  }
  if (*rc::gen::inRange(0, 4) == 0) {
    item->addChild(KRAVTWVItemVexil::itemWithRepresentedObject("inside"));
  }
  return item;
}

KRAVTWVItemArray anyItemsOf(const KRAVTWVItemArray& pool) {
  return *rc::gen::container<KRAVTWVItemArray>(rc::gen::elementOf(pool));
}

/// The rule itself: removes what equals the child, then appends the child.
void addNaively(KRAVTWVItemArray& children, const ItemPointer& child) {
  KRAVTWVItemArray kept;
  for (const auto& element : children) {
    if (!element->isEqual(*child)) {
      kept.push_back(element);
    }
  }
  kept.push_back(child);
  children = kept;
}

PROPERTY(AddChildrenProperty, IsAddChildForEach, ()) {
  KRAVTWVItemArray pool;
  for (int i = *rc::gen::inRange(1, 12); i > 0; --i) {
    pool.push_back(anyItem());
  }
  const KRAVTWVItemArray before = anyItemsOf(pool);
  const KRAVTWVItemArray added = anyItemsOf(pool);
  const auto atOnce = plainItem("root");
  const auto oneByOne = plainItem("root");
  atOnce->setChildren(items(before));  // may hold equal ones
  oneByOne->setChildren(items(before));
  KRAVTWVItemArray naive = before;

  for (const auto& child : added) {
    oneByOne->addChild(child);
    addNaively(naive, child);
  }
  atOnce->addChildren(added);

  RC_ASSERT(*oneByOne->children() == naive);
  RC_ASSERT(*atOnce->children() == naive);
  RC_ASSERT(std::ranges::all_of(added, [&](auto& child) { return child->parent() == atOnce; }));
}

// --- removing

TEST(RemoveChildren, TakesThoseAtThePositionsAndAnnouncesARemoval) {
  const auto root =
      plainItem("root", {plainItem("a"), plainItem("b"), plainItem("c"), plainItem("d")});
  const auto notices = TreeRecorder::of(root, {"children", "isGroup", "isExpandable"});
  root->removeChildrenAtIndexes({0, 2, 3});
  EXPECT_EQ(identifiers(*root->children()), "[b]");
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(notices->take(), (Lines{
                                 "root children removal {0, 2-3} old=[a, c, d]",
                                 "root isGroup setting old=true new=true",
                                 "root isExpandable setting old=true new=true",
                                 "root children removal {0} old=[b]",
                                 "root isGroup setting old=true new=false",
                                 "root isExpandable setting old=true new=false",
                             }));
}

TEST(RemoveChildren, AtNoPositionsAnnouncesNothing) {
  const auto root = plainItem("root", {plainItem("a")});
  const auto notices = TreeRecorder::of(root, {"children", "isGroup", "isExpandable"});
  root->removeChildrenAtIndexes({});
  EXPECT_EQ(notices->take(), Lines{});
  EXPECT_EQ(identifiers(*root->children()), "[a]");
}

TEST(RemoveChildren, LeavesTheirParentAlone) {
  const auto child = plainItem("child");
  const auto root = plainItem("root", {child});
  root->removeChildrenAtIndexes({0});
  EXPECT_TRUE(root->children()->empty());
  EXPECT_EQ(child->parent(), root);
}

TEST(RemoveChildren, PastTheEndChangesAndAnnouncesNothing) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  const auto notices = TreeRecorder::of(root);
  EXPECT_THROW(root->removeChildrenAtIndexes({0, 2}), platform::RangeError);
  EXPECT_EQ(identifiers(*root->children()), "[a, b]");
  EXPECT_EQ(notices->take(), Lines{});
}

TEST(RemoveChildren, IsSeenByObserversWhenItIsDone) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  std::string seen;
  const auto observation = platform::observe(
      root, "children", platform::ObservingOptions::none,
      [&](const platform::ChangeRecord&) { seen = identifiers(*root->children()); });
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(seen, "[b]");
}

PROPERTY(RemoveChildrenProperty, KeepsExactlyTheOthersInOrder, ()) {
  const auto count = *rc::gen::inRange<std::size_t>(1, 30);
  const auto chosen =
      *rc::gen::container<std::set<std::size_t>>(rc::gen::inRange<std::size_t>(0, count));
  const auto root = plainItem("root");
  IndexSet indexes;
  KRAVTWVItemArray kept;
  KRAVTWVItemArray removed;
  for (std::size_t i = 0; i < count; ++i) {
    root->addChild(plainItem(std::to_string(i).c_str()));
    const bool goes = chosen.contains(i);
    (goes ? removed : kept).push_back(root->childAtIndex(i));
    if (goes) {
      indexes.insert(i);
    }
  }
  const auto notices = TreeRecorder::of(root);
  root->removeChildrenAtIndexes(indexes);
  RC_ASSERT(*root->children() == kept);
  RC_ASSERT(notices->take() == (chosen.empty()
                                    ? Lines{}
                                    : Lines{"root children removal " + indexes.description() +
                                            " old=" + identifiers(removed)}));
}

// --- access and walk

TEST(ChildAtIndex, IsTheElementOrARangeError) {
  const auto a = plainItem("a");
  const auto root = plainItem("root", {a});
  EXPECT_EQ(root->childAtIndex(0), a);
  EXPECT_THROW((void)root->childAtIndex(1), platform::RangeError);
  EXPECT_THROW((void)root->childAtIndex(static_cast<std::size_t>(-1)), platform::RangeError);
  EXPECT_THROW((void)a->childAtIndex(0), platform::RangeError);
}

//   root +- a +- a1 - a1x
//        |    +- a2
//        +- b
TEST(RecursiveChildren, ComeInPostOrderWithoutTheReceiver) {
  const auto root = plainItem(
      "root",
      {plainItem("a", {plainItem("a1", {plainItem("a1x")}), plainItem("a2")}), plainItem("b")});
  EXPECT_EQ(identifiers(root->recursiveChildren()), "[a1x, a1, a2, a, b]");
}

// alpha - beta - gamma
TEST(RecursiveChildren, OfAChainAreTheDeepestFirst) {
  const auto root = plainItem("alpha", {plainItem("beta", {plainItem("gamma")})});
  EXPECT_EQ(identifiers(root->recursiveChildren()), "[gamma, beta]");
}

TEST(RecursiveChildren, OfALeafAreNone) {
  EXPECT_TRUE(plainItem("leaf")->recursiveChildren().empty());
}

TEST(RecursiveChildren, AreANewArrayAtEveryCall) {
  const auto root = plainItem("root", {plainItem("a")});
  auto first = root->recursiveChildren();
  first.clear();
  EXPECT_EQ(identifiers(root->recursiveChildren()), "[a]");
  EXPECT_EQ(identifiers(*root->children()), "[a]");
}

void walkNaively(const KRAVTWVItemVexil& item, KRAVTWVItemArray& result) {
  for (const auto& child : *item.children()) {
    walkNaively(*child, result);
    result.push_back(child);
  }
}

PROPERTY(RecursiveChildrenProperty, AreTheRecursiveWalk, (const std::vector<unsigned>& parents)) {
  KRAVTWVItemArray items{plainItem("0")};
  for (const unsigned parent : parents) {
    items.push_back(plainItem(std::to_string(items.size()).c_str()));
    items[parent % (items.size() - 1)]->addChild(items.back());
  }
  KRAVTWVItemArray expected;
  walkNaively(*items[0], expected);
  RC_ASSERT(items[0]->recursiveChildren() == expected);
}

}  // namespace
