// SPDX-License-Identifier: Apache-2.0
// Access to an item by key, and the keys that depend on others.
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <set>

namespace platform = vexil::platform;

namespace {

using platform::ObservingOptions;
using platform::Value;
using test::items;
using test::Lines;
using test::plainItem;
using test::TreeRecorder;
using Keys = std::set<std::string>;

// --- access by key

TEST(ItemKeys, ReadEveryProperty) {
  const auto child = plainItem("child");
  const auto item = plainItem("item", {child});
  const auto parent = plainItem("parent", {item});
  item->setLabel("Item");
  EXPECT_EQ(item->valueForKey("uniqueID"), Value("item"));
  EXPECT_EQ(item->valueForKey("label"), Value("Item"));
  EXPECT_EQ(item->valueForKey("representedObject"), Value("item"));
  EXPECT_EQ(item->valueForKey("parent").object(), parent);
  ASSERT_EQ(item->valueForKey("children").elements().size(), 1U);
  EXPECT_EQ(item->valueForKey("children").elements()[0].object(), child);
  EXPECT_EQ(item->valueForKey("supportsEnabled").boolean(), false);
  EXPECT_EQ(item->valueForKey("enabled").boolean(), false);
  EXPECT_EQ(item->valueForKey("isGroup").boolean(), true);
  EXPECT_EQ(item->valueForKey("isExpandable").boolean(), true);
  EXPECT_EQ(item->valueForKey("path"), Value("/parent/item"));
}

TEST(ItemKeys, ReadWhatIsNotThereAsAbsent) {
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject({});
  for (const char* key : {"uniqueID", "label", "representedObject", "parent"}) {
    EXPECT_TRUE(item->valueForKey(key).isAbsent()) << key;
  }
  EXPECT_EQ(item->valueForKey("children"), Value::array({})) << "an empty array is one";
  item->setChildren(nullptr);
  EXPECT_TRUE(item->valueForKey("children").isAbsent());
  EXPECT_THROW((void)item->valueForKey("path"), platform::InvalidArgument);
}

TEST(ItemKeys, ReachTheSettersWithWhatTheyAnnounce) {
  const auto item = plainItem("item");
  const auto parent = plainItem("parent");
  const auto child = plainItem("child");
  const auto notices =
      TreeRecorder::of(item, {"uniqueID", "label", "representedObject", "parent", "children"});
  item->setValueForKey("renamed", "uniqueID");
  item->setValueForKey("Item", "label");
  item->setValueForKey(parent, "parent");
  item->setValueForKey(Value::array({Value(child)}), "children");
  EXPECT_EQ(notices->take(), (Lines{
                                 "renamed uniqueID setting old=\"item\" new=\"renamed\"",
                                 "renamed label setting old=<null> new=\"Item\"",
                                 "renamed parent setting old=<null> new=parent",
                                 "renamed children setting old=[] new=[child]",
                             }));
  item->setValueForKey("other", "representedObject");
  EXPECT_EQ(notices->take(), (Lines{
                                 "renamed uniqueID setting old=\"renamed\" new=\"renamed\"",
                                 "renamed label setting old=\"Item\" new=\"Item\"",
                                 "renamed representedObject setting old=\"item\" new=\"other\"",
                             }));
  EXPECT_EQ(item->uniqueID(), Value("renamed"));
  EXPECT_EQ(item->label(), Value("Item"));
  EXPECT_EQ(item->representedObject(), Value("other"));
  EXPECT_EQ(item->parent(), parent);
  EXPECT_EQ(*item->children(), KRAVTWVItemArray{child});
}

TEST(ItemKeys, SetToAbsentClear) {
  const auto item = plainItem("item", {plainItem("child")});
  item->setParent(plainItem("parent"));
  item->setLabel("Item");
  for (const char* key : {"uniqueID", "label", "representedObject", "parent", "children"}) {
    item->setValueForKey({}, key);
    EXPECT_TRUE(item->valueForKey(key).isAbsent()) << key;
  }
  EXPECT_EQ(item->children(), nullptr);
}

TEST(ItemKeys, OfComputedPropertiesCannotBeSet) {
  const auto item = plainItem("item");
  for (const char* key : {"supportsEnabled", "enabled", "isGroup", "isExpandable", "path"}) {
    EXPECT_THROW(item->setValueForKey(true, key), platform::UndefinedKey) << key;
  }
}

TEST(ItemKeys, ThatNobodyKnowsRaise) {
  const auto item = plainItem("item");
  EXPECT_THROW((void)item->valueForKey("nothing"), platform::UndefinedKey);
  EXPECT_THROW(item->setValueForKey(1, "nothing"), platform::UndefinedKey);
  EXPECT_THROW((void)item->valueForKey("representedEvent"), platform::UndefinedKey);
}

TEST(ItemKeys, RefuseAValueThatTheirSetterCannotTake) {
  const auto item = plainItem("item", {plainItem("child")});
  const Value service = std::make_shared<platform::NetService>("a", "b", "c");
  EXPECT_THROW(item->setValueForKey("text", "parent"), platform::InvalidArgument);
  EXPECT_THROW(item->setValueForKey(service, "parent"), platform::InvalidArgument);
  EXPECT_THROW(item->setValueForKey("text", "children"), platform::InvalidArgument);
  EXPECT_THROW(item->setValueForKey(Value::array({service}), "children"),
               platform::InvalidArgument);
  EXPECT_THROW(item->setValueForKey(Value::array({Value()}), "children"),
               platform::InvalidArgument);
  EXPECT_EQ(test::identifiers(*item->children()), "[child]");
}

// --- dependent keys

TEST(ItemDependentKeys, OfTheRepresentedObjectAreFour) {
  EXPECT_EQ(plainItem("item")->keyPathsForValuesAffectedByRepresentedObject(),
            (Keys{"uniqueID", "label", "path", "representedEvent"}));
}

TEST(ItemDependentKeys, AreASetOfTheCallersOwn) {
  const auto item = plainItem("item");
  auto keys = item->keyPathsForValuesAffectedByRepresentedObject();
  keys.clear();
  EXPECT_EQ(item->keyPathsForValuesAffectedByRepresentedObject().size(), 4U);
}

TEST(ItemDependentKeys, DependOnTheRepresentedObject) {
  const auto item = plainItem("item");
  for (const char* key : {"uniqueID", "label", "path", "representedEvent"}) {
    EXPECT_EQ(item->keyPathsForValuesAffectingValueForKey(key), Keys{"representedObject"}) << key;
  }
}

TEST(ItemDependentKeys, OfGroupAndExpandableAreTheChildrenAlone) {
  const auto item = plainItem("item");
  EXPECT_EQ(item->keyPathsForValuesAffectingIsGroup(), Keys{"children"});
  EXPECT_EQ(item->keyPathsForValuesAffectingIsExpandable(), Keys{"children"});
  EXPECT_EQ(item->keyPathsForValuesAffectingValueForKey("isGroup"), Keys{"children"});
  EXPECT_EQ(item->keyPathsForValuesAffectingValueForKey("isExpandable"), Keys{"children"});
}

TEST(ItemDependentKeys, AreNoOthers) {
  const auto item = plainItem("item");
  for (const char* key :
       {"children", "parent", "representedObject", "enabled", "supportsEnabled", "nothing"}) {
    EXPECT_EQ(item->keyPathsForValuesAffectingValueForKey(key), Keys{}) << key;
  }
}

TEST(ItemDependentKeys, AreAnnouncedWithTheRepresentedObject) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(test::eventRecord("e1", "One"));
  const auto values = TreeRecorder::of(event, {"uniqueID", "label", "path"});
  const auto record =
      TreeRecorder::of(event, {"representedEvent", "representedObject"}, ObservingOptions::none);
  event->setRepresentedObject(test::eventRecord("e2", "Two"));
  EXPECT_EQ(values->take(), (Lines{
                                "e2 uniqueID setting old=\"e1\" new=\"e2\"",
                                "e2 label setting old=\"One\" new=\"Two\"",
                                "e2 path setting old=\"/e1\" new=\"/e2\"",
                            }));
  EXPECT_EQ(record->take(), (Lines{"e2 representedEvent setting", "e2 representedObject setting"}));
}

TEST(ItemDependentKeys, AreAnnouncedAlsoWhereTheirValuesAreStored) {
  const auto item = plainItem("item");
  const auto notices = TreeRecorder::of(item, {"uniqueID", "label", "path"});
  item->setRepresentedObject("other");
  EXPECT_EQ(notices->take(), (Lines{
                                 "item uniqueID setting old=\"item\" new=\"item\"",
                                 "item label setting old=<null> new=<null>",
                                 "item path setting old=\"/item\" new=\"/item\"",
                             }));
}

TEST(ItemDependentKeys, OfAnotherKindDoNoHarm) {
  const auto item = plainItem("item");
  const auto other = TreeRecorder::of(item, {"representedEvent", "triggerDate", "activity"});
  const auto own = TreeRecorder::of(item, {"label"});
  EXPECT_NO_THROW(item->setRepresentedObject("other"));
  EXPECT_EQ(item->representedObject(), Value("other"));
  EXPECT_EQ(own->take(), Lines{"item label setting old=<null> new=<null>"});
}

TEST(ItemDependentKeys, OfAPathThatCannotBeReadRaiseAndTheItemGoesOn) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(test::eventRecord("e1", "One"));
  const auto notices = TreeRecorder::of(event, {"path"});
  EXPECT_THROW(event->setRepresentedObject(test::eventRecord({}, "Two")),
               platform::InvalidArgument);
  EXPECT_EQ(event->label(), Value("Two")) << "the path is read when the record is there";
  EXPECT_THROW(event->setRepresentedObject(test::eventRecord("e3", "Three")),
               platform::InvalidArgument);
  EXPECT_EQ(event->label(), Value("Two")) << "the old path is read before anything is changed";
  EXPECT_EQ(notices->take(), Lines{});
}

TEST(ItemDependentKeys, AreNotAnnouncedWithStoredOnes) {
  const auto item = plainItem("item");
  const auto notices = TreeRecorder::of(item, {"path", "representedObject", "isGroup"});
  item->setUniqueID("renamed");
  item->setLabel("Item");
  item->setParent(plainItem("parent"));
  EXPECT_EQ(notices->take(), Lines{}) << "only the represented object changes a path's observers";
}

TEST(ItemDependentKeys, OfChildrenAreAnnouncedAsSettingsWhateverHappensToThem) {
  const auto item = plainItem("item");
  const auto notices = TreeRecorder::of(item, {"isGroup", "isExpandable"});
  item->replaceChildren(items({plainItem("a"), plainItem("b")}));
  const Lines toTrue{"item isGroup setting old=false new=true",
                     "item isExpandable setting old=false new=true"};
  EXPECT_EQ(notices->take(), toTrue) << "an insertion";
  const auto changed = plainItem("b");
  changed->setRepresentedObject("changed");
  item->replaceChildren(items({plainItem("a"), changed}));
  EXPECT_EQ(notices->take(), (Lines{"item isGroup setting old=true new=true",
                                    "item isExpandable setting old=true new=true"}))
      << "a replacement";
  const Lines toFalse{"item isGroup setting old=true new=false",
                      "item isExpandable setting old=true new=false"};
  item->removeChildrenAtIndexes({0, 1});
  EXPECT_EQ(notices->take(), toFalse) << "a removal";
  item->setChildren(items({plainItem("c")}));
  EXPECT_EQ(notices->take(), toTrue) << "a setting";
}

TEST(ItemNotices, OfARepresentedObjectCarryOnlyWhatWasAskedFor) {
  const auto item = plainItem("item");
  const auto none = TreeRecorder::of(item, {"representedObject"}, ObservingOptions::none);
  const auto oldOnly = TreeRecorder::of(item, {"representedObject"}, ObservingOptions::oldValue);
  const auto newOnly = TreeRecorder::of(item, {"representedObject"}, ObservingOptions::newValue);
  item->setRepresentedObject("other");
  EXPECT_EQ(none->take(), Lines{"item representedObject setting"});
  EXPECT_EQ(oldOnly->take(), Lines{"item representedObject setting old=\"item\""});
  EXPECT_EQ(newOnly->take(), Lines{"item representedObject setting new=\"other\""});
}

}  // namespace
