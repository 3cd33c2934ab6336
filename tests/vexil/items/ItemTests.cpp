// SPDX-License-Identifier: Apache-2.0
// Making an item, its properties, what it says of itself, and its end.
#include "tests/support/AllocationCounter.h"
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <sstream>
#include <thread>
#include <type_traits>

namespace platform = vexil::platform;

namespace {

using platform::IndexSet;
using platform::Value;
using test::items;
using test::Lines;
using test::plainItem;
using test::TreeRecorder;

static_assert(!std::is_default_constructible_v<KRAVTWVItemVexil>,
              "an item is made with what it represents");
static_assert(!std::is_copy_constructible_v<KRAVTWVItemVexil>);
static_assert(!std::is_copy_assignable_v<KRAVTWVItemVexil>);
static_assert(!std::is_convertible_v<Value, KRAVTWVItemVexil>);
static_assert(std::has_virtual_destructor_v<KRAVTWVItemVexil>);
static_assert(std::is_base_of_v<platform::Observable, KRAVTWVItemVexil>);

TEST(ItemConstants, NameTheKeysThatHostsObserve) {
  EXPECT_EQ(KRAVTWVItemVexilKeyPathChildren, "children");
  EXPECT_EQ(KRAVTWVItemVexilKeyPathLabel, "label");
}

TEST(Item, PlainInitYieldsNothing) {
  EXPECT_EQ(KRAVTWVItemVexil::init(), nullptr);
  EXPECT_EQ(KRAVTWVGroupVexil::init(), nullptr);
  EXPECT_EQ(KRAVTWVNetServiceVexil::init(), nullptr);
}

TEST(Item, OfAnAbsentObjectHasNothingButAnEmptyArrayOfChildren) {
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject({});
  EXPECT_TRUE(item->representedObject().isAbsent());
  EXPECT_TRUE(item->uniqueID().isAbsent());
  EXPECT_TRUE(item->label().isAbsent());
  EXPECT_FALSE(item->enabled());
  EXPECT_FALSE(item->supportsEnabled());
  EXPECT_EQ(item->parent(), nullptr);
  ASSERT_NE(item->children(), nullptr);
  EXPECT_TRUE(item->children()->empty());
}

TEST(Item, MakesNoIdentifierOrLabelOutOfWhatItRepresents) {
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject("x");
  EXPECT_EQ(item->representedObject(), Value("x"));
  EXPECT_TRUE(item->uniqueID().isAbsent());
  EXPECT_TRUE(item->label().isAbsent());
  EXPECT_FALSE(item->enabled());
}

TEST(Item, RepresentsTheVeryObjectItIsGivenAndNotACopy) {
  const Value record = test::eventRecord("e1", "Backup");
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject(record);
  EXPECT_TRUE(item->representedObject().sharesStorageWith(record));
  const Value newer = test::eventRecord("e1", "Backup");
  item->setRepresentedObject(newer);
  EXPECT_TRUE(item->representedObject().sharesStorageWith(newer));
}

TEST(Item, KeepsWhatItsSettersStore) {
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject({});
  const auto parent = plainItem("parent");
  const auto children = items({plainItem("child")});
  item->setUniqueID("alpha");
  item->setLabel("Alpha");
  item->setParent(parent);
  item->setChildren(children);
  EXPECT_EQ(item->uniqueID(), Value("alpha"));
  EXPECT_EQ(item->label(), Value("Alpha"));
  EXPECT_EQ(item->parent(), parent);
  EXPECT_EQ(item->children(), children) << "the very array";
  item->setUniqueID({});
  item->setLabel({});
  item->setParent(nullptr);
  EXPECT_TRUE(item->uniqueID().isAbsent());
  EXPECT_TRUE(item->label().isAbsent());
  EXPECT_EQ(item->parent(), nullptr);
}

TEST(Item, SettersAnnounceTheirKeyAlsoWhenNothingChanges) {
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject("x");
  const auto parent = plainItem("parent");
  const auto notices = TreeRecorder::of(item, {"uniqueID", "label", "parent", "children"});
  item->setUniqueID("alpha");
  item->setLabel("Alpha");
  item->setLabel("Alpha");
  item->setParent(parent);
  item->setChildren(items({plainItem("child")}));
  EXPECT_EQ(notices->take(), (Lines{
                                 "alpha uniqueID setting old=<null> new=\"alpha\"",
                                 "alpha label setting old=<null> new=\"Alpha\"",
                                 "alpha label setting old=\"Alpha\" new=\"Alpha\"",
                                 "alpha parent setting old=<null> new=parent",
                                 "alpha children setting old=[] new=[child]",
                             }));
}

TEST(Item, RepresentedObjectIsAnnouncedUnderItsOwnKey) {
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject("x");
  const auto notices = TreeRecorder::of(item, {"representedObject"});
  item->setRepresentedObject("y");
  item->setRepresentedObject({});
  EXPECT_EQ(notices->take(), (Lines{
                                 "(null) representedObject setting old=\"x\" new=\"y\"",
                                 "(null) representedObject setting old=\"y\" new=<null>",
                             }));
}

TEST(Item, TellsItsObserversAtOnceAndOnTheThreadThatChangesIt) {
  const auto item = plainItem("item", {plainItem("child")});
  std::vector<std::thread::id> heard;
  const auto hear = [&](const platform::ChangeRecord&) {
    heard.push_back(std::this_thread::get_id());
  };
  const auto label = platform::observe(item, "label", platform::ObservingOptions::none, hear);
  const auto children = platform::observe(item, "children", platform::ObservingOptions::none, hear);
  std::thread other([&] {
    item->setLabel("Item");
    EXPECT_EQ(heard, std::vector{std::this_thread::get_id()});
    item->removeChildrenAtIndexes({0});
    EXPECT_EQ(heard, std::vector(2, std::this_thread::get_id()));
  });
  other.join();
  EXPECT_EQ(heard.size(), 2U);
}

TEST(Item, IsAGroupAndExpandableAsSoonAsItHasOneChild) {
  const auto item = plainItem("item");
  EXPECT_FALSE(item->isGroup());
  EXPECT_FALSE(item->isExpandable());
  item->addChild(plainItem("child"));
  EXPECT_TRUE(item->isGroup());
  EXPECT_TRUE(item->isExpandable());
  item->removeChildrenAtIndexes({0});
  EXPECT_FALSE(item->isGroup());
  EXPECT_FALSE(item->isExpandable());
}

TEST(Item, DescribesItselfByClassIdentifierAndLabel) {
  const auto item = plainItem("alpha");
  item->setLabel("Alpha, \"the first\"");
  std::ostringstream expected;
  expected << "<KRAVTWVItemVexil: " << static_cast<const void*>(item.get())
           << "> { alpha, Alpha, \"the first\" }";
  EXPECT_EQ(item->description(), expected.str());
}

TEST(Item, DescribesWhatItHasNotAsNull) {
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject({});
  EXPECT_TRUE(item->description().ends_with("> { (null), (null) }")) << item->description();
}

// --- the array of children

TEST(ItemChildrenArray, IsTheSameOneAtEveryReadAndChangesWithTheItem) {
  const auto item = plainItem("item");
  const auto children = item->children();
  item->addChild(plainItem("child"));
  EXPECT_EQ(item->children(), children);
  EXPECT_EQ(children->size(), 1U);
}

TEST(ItemChildrenArray, TakesNoMemoryToBeReadAgain) {
  const auto item = plainItem("item", {plainItem("child")});
  EXPECT_EQ(item->children()->size(), 1U);
  EXPECT_EQ(test::allocationsOf([&] { EXPECT_NE(item->children(), nullptr); }), 0U);
}

TEST(ItemChildrenArray, ThatIsSetLeavesTheParentsOfItsItemsAlone) {
  const auto item = plainItem("item");
  const auto child = plainItem("child");
  item->setChildren(items({child}));
  EXPECT_EQ(child->parent(), nullptr);
}

TEST(ItemChildrenArray, WithANullPointerIsRefused) {
  const auto item = plainItem("item", {plainItem("child")});
  const auto notices = TreeRecorder::of(item, {"children"});
  const auto wrong = items({plainItem("x"), nullptr});
  EXPECT_THROW(item->setChildren(wrong), platform::InvalidArgument);
  EXPECT_EQ(test::identifiers(*item->children()), "[child]");
  EXPECT_EQ(notices->take(), Lines{});
}

TEST(AbsentChildren, ReadAsNoElements) {
  const auto item = plainItem("item", {plainItem("child")});
  item->setChildren(nullptr);
  EXPECT_EQ(item->children(), nullptr);
  EXPECT_FALSE(item->isGroup());
  EXPECT_FALSE(item->isExpandable());
  EXPECT_TRUE(item->recursiveChildren().empty());
  EXPECT_THROW((void)item->childAtIndex(0), platform::RangeError);
  EXPECT_THROW(item->removeChildrenAtIndexes({0}), platform::RangeError);
  EXPECT_NO_THROW(item->removeChildrenAtIndexes({}));
  EXPECT_EQ(item->children(), nullptr) << "none of these made a new array";
}

TEST(AbsentChildren, AreAnnouncedAsTheNullMarker) {
  const auto item = plainItem("item", {plainItem("child")});
  const auto notices = TreeRecorder::of(item, {"children", "isGroup"});
  item->setChildren(nullptr);
  item->setChildren(std::make_shared<KRAVTWVItemArray>());
  EXPECT_EQ(notices->take(), (Lines{
                                 "item children setting old=[child] new=<null>",
                                 "item isGroup setting old=true new=false",
                                 "item children setting old=<null> new=[]",
                                 "item isGroup setting old=false new=false",
                             }));
}

TEST(AbsentChildren, GiveWayToANewArrayWhenAChildIsAdded) {
  const auto item = plainItem("item");
  item->setChildren(nullptr);
  const auto child = plainItem("child");
  item->addChild(child);
  ASSERT_NE(item->children(), nullptr);
  EXPECT_EQ(*item->children(), KRAVTWVItemArray{child});
  EXPECT_EQ(child->parent(), item);
}

TEST(AbsentChildren, GiveWayToANewArrayWhenChildrenAreReplaced) {
  const auto item = plainItem("item");
  item->setChildren(nullptr);
  item->replaceChildren(items({plainItem("a"), plainItem("b")}));
  ASSERT_NE(item->children(), nullptr);
  EXPECT_EQ(test::identifiers(*item->children()), "[a, b]");
}

// --- the parent, and the end

TEST(ItemParent, IsNotKeptAliveAndReadsAbsentOnceItIsGone) {
  auto parent = plainItem("parent");
  const auto child = plainItem("child");
  parent->addChild(child);
  EXPECT_EQ(child->parent(), parent);
  const std::weak_ptr<KRAVTWVItemVexil> gone = parent;
  parent.reset();
  EXPECT_TRUE(gone.expired());
  EXPECT_EQ(child->parent(), nullptr);
}

TEST(ItemParent, ThatIsSetDoesNotGetTheChild) {
  const auto parent = plainItem("parent");
  const auto child = plainItem("child");
  child->setParent(parent);
  EXPECT_EQ(child->parent(), parent);
  EXPECT_TRUE(parent->children()->empty());
}

// root - branch - leaf
TEST(ItemTree, GoesWithItsRootButForWhatOthersHold) {
  auto root = plainItem("root");
  auto branch = plainItem("branch");
  const auto leaf = plainItem("leaf");
  root->addChild(branch);
  branch->addChild(leaf);
  const std::weak_ptr<KRAVTWVItemVexil> branchGone = branch;
  branch.reset();
  root.reset();
  EXPECT_TRUE(branchGone.expired());
  EXPECT_EQ(leaf->parent(), nullptr);
  EXPECT_EQ(leaf->uniqueID(), Value("leaf"));
}

TEST(ItemTree, KeepsItsChildrenAlive) {
  const auto root = plainItem("root");
  std::weak_ptr<KRAVTWVItemVexil> child;
  {
    const auto made = plainItem("child");
    child = made;
    root->addChild(made);
  }
  EXPECT_FALSE(child.expired());
  root->removeChildrenAtIndexes({0});
  EXPECT_TRUE(child.expired());
}

TEST(Item, LetsGoOfItsValuesWhenItGoes) {
  const auto represented = std::make_shared<platform::NetService>("a", "b", "c");
  const auto identifier = std::make_shared<platform::NetService>("d", "e", "f");
  const auto label = std::make_shared<platform::NetService>("g", "h", "i");
  {
    const auto item = KRAVTWVItemVexil::itemWithRepresentedObject(represented);
    item->setUniqueID(identifier);
    item->setLabel(label);
    EXPECT_EQ(represented.use_count(), 2);
    EXPECT_EQ(identifier.use_count(), 2);
    EXPECT_EQ(label.use_count(), 2);
  }
  EXPECT_EQ(represented.use_count(), 1);
  EXPECT_EQ(identifier.use_count(), 1);
  EXPECT_EQ(label.use_count(), 1);
}

}  // namespace
