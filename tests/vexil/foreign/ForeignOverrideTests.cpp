// SPDX-License-Identifier: Apache-2.0
// Getters and identifiers that a host's kind overrides change what an operation works on.
#include "ForeignCodeTesting.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::IndexSet;
using platform::RangeError;
using platform::Value;
using test::ForeignCode;
using test::identifiers;
using test::ItemPointer;
using test::Lines;
using test::plainItem;
using test::TreeRecorder;
using test::Turn;

// --- getters of dependent keys

/// Has its turn when it is asked whether it can be expanded.
class Fidgety : public KRAVTWVKind<Fidgety, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] bool isExpandable() const override {
    if (asked != nullptr) {
      asked->comes();
    }
    return KRAVTWVKind::isExpandable();
  }
  Turn* asked = nullptr;
};

class ForeignGetter : public ForeignCode {
 protected:
  ForeignGetter() {
    item->setUniqueID("item");
    *item->children() = {plainItem("1"), plainItem("2"), plainItem("3"), plainItem("4")};
    item->asked = &turn;
  }
  std::shared_ptr<Fidgety> item = Fidgety::itemWithRepresentedObject("item");
  const std::shared_ptr<TreeRecorder> notices =
      TreeRecorder::of(item, {"children", "isExpandable"});
};

TEST_F(ForeignGetter, ThatRemovesChildrenMakesARemovalARangeErrorWithNothingAnnounced) {
  turn.does([&] { item->children()->resize(2); });
  EXPECT_THROW(item->removeChildrenAtIndexes({1, 3}), RangeError);
  EXPECT_EQ(identifiers(*item->children()), "[1, 2]");
  EXPECT_EQ(notices->take(), Lines{});
}

TEST_F(ForeignGetter, ThatSetsOtherChildrenMakesARemovalARangeErrorWithNothingAnnouncedAsDone) {
  turn.does([&] { item->setChildren(nullptr); });
  EXPECT_THROW(item->removeChildrenAtIndexes({1, 3}), RangeError);
  EXPECT_EQ(item->children(), nullptr);
  for (const std::string& notice : notices->take()) {
    EXPECT_FALSE(notice.starts_with("item children removal")) << notice;
  }
}

TEST_F(ForeignGetter, ThatChangesThePositionsHandedInChangesNothingOfTheRemoval) {
  IndexSet indexes{1, 3};
  turn.does([&] { indexes = {0}; });
  item->removeChildrenAtIndexes(indexes);
  EXPECT_EQ(identifiers(*item->children()), "[1, 3]");
}

TEST_F(ForeignGetter, ThatRemovesChildrenMakesAnInsertionARangeErrorWithNothingAnnounced) {
  turn.does([&] { item->children()->clear(); });
  EXPECT_THROW(item->replaceChildren(test::items({plainItem("1"), plainItem("2"), plainItem("3"),
                                                  plainItem("4"), plainItem("5")})),
               RangeError);
  EXPECT_EQ(identifiers(*item->children()), "[]");
  EXPECT_EQ(notices->take(), Lines{});
}

TEST_F(ForeignGetter, ThatTakesTheFreshItemsMakesAnInsertionARangeErrorWithNothingAnnounced) {
  const auto fresh = test::items({plainItem("1"), plainItem("2"), plainItem("3"), plainItem("4"),
                                  plainItem("5"), plainItem("6")});
  turn.does([&] { fresh->resize(5); });
  EXPECT_THROW(item->replaceChildren(fresh), RangeError);
  EXPECT_EQ(identifiers(*item->children()), "[1, 2, 3, 4]");
  EXPECT_EQ(notices->take(), Lines{});
}

TEST_F(ForeignGetter, ThatRemovesChildrenMakesAReplacementARangeError) {
  const auto fresh = test::items({plainItem("1"), plainItem("2"), plainItem("3"), plainItem("4")});
  (*fresh)[3]->setRepresentedObject("changed");
  turn.does([&] { item->children()->clear(); });
  EXPECT_THROW(item->replaceChildren(fresh), RangeError);
  EXPECT_EQ(notices->take(), Lines{});
}

// --- identifiers

/// Has its turn when it is asked for its identifier, which is what it represents.
class Secretive : public KRAVTWVKind<Secretive, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] Value uniqueID() const override {
    Value identifier = representedObject();
    if (asked != nullptr) {
      asked->comes();
    }
    return identifier;
  }
  Turn* asked = nullptr;
};

class ForeignIdentifier : public ForeignCode {
 protected:
  std::shared_ptr<Secretive> secretive(const char* uniqueID) {
    auto item = Secretive::itemWithRepresentedObject(uniqueID);
    item->asked = &turn;
    return item;
  }
  /// What the host's code does to the root of the operation, and to the fresh items.
  std::vector<std::function<void()>> meddlings() {
    return {[this] { root->setChildren(test::items({plainItem("other")})); },
            [this] { root->children()->clear(); },
            [this] {
              fresh->clear();
              fresh->shrink_to_fit();
            },
            [this] { root = nullptr; }};
  }
  void makeAnew() {
    root = secretive("root");
    *root->children() = {secretive("1"), secretive("2"), secretive("3")};
    *root->childAtIndex(2)->children() = {secretive("a"), secretive("b")};
    fresh = test::items({secretive("1"), secretive("3"), secretive("4")});
  }
  std::shared_ptr<Secretive> root = secretive("root");
  std::shared_ptr<KRAVTWVItemArray> fresh = test::items({});
};

TEST_F(ForeignIdentifier, MayChangeTheChildrenThatAreMerged) {
  for (const auto& meddling : meddlings()) {
    atEveryCall([&](int skipped) {
      makeAnew();
      turn.does(meddling, skipped);
      return hasItsTurnIn([&] { root->replaceChildren(fresh); });
    });
  }
}

TEST_F(ForeignIdentifier, MayChangeTheChildrenThatAreSearched) {
  for (const auto& meddling : meddlings()) {
    atEveryCall([&](int skipped) {
      makeAnew();
      turn.does(meddling, skipped);
      return hasItsTurnIn([&] { (void)root->itemWithPath("/root/3/b"); });
    });
  }
}

TEST_F(ForeignIdentifier, MayLetGoOfThePathThatIsSearched) {
  *root->children() = {secretive("1")};
  auto path = std::make_unique<std::string>("/root/1 and a text that is not short any more");
  turn.does([&] { path = nullptr; });
  EXPECT_EQ(root->itemWithPath(*path), nullptr);
}

TEST_F(ForeignIdentifier, MayLetGoOfTheItemWhosePathIsAsked) {
  turn.does([&] { root = nullptr; });
  EXPECT_EQ(root->path(), "/root");
}

TEST_F(ForeignIdentifier, MayLetGoOfTheItemThatIsDescribed) {
  turn.does([&] { root = nullptr; });
  EXPECT_NE(root->description().find("{ root, "), std::string::npos);
}

/// Returns another hash each time.
class Fickle : public platform::Object {
 public:
  [[nodiscard]] std::size_t hash() const override { return ++_asked; }

 private:
  mutable std::size_t _asked = 0;
};

TEST_F(ForeignIdentifier, MayBeAnObjectThatHashesOtherwiseEachTime) {
  const auto items = [] {
    KRAVTWVItemArray made;
    for (int i = 0; i < 20; ++i) {
      made.push_back(plainItem("item"));
      made.back()->setUniqueID(std::make_shared<Fickle>());
    }
    return made;
  };
  const auto parent = plainItem("parent");
  *parent->children() = items();
  const KRAVTWVItemArray others = items();
  parent->replaceChildren(test::items(others));
  EXPECT_EQ(*parent->children(), others);
}

/// Lets go of itself when its class is asked what "isGroup" depends on.
class Fleeting : public KRAVTWVKind<Fleeting, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingIsGroup() const override {
    if (held != nullptr) {
      held->reset();
    }
    return {};
  }
  std::shared_ptr<Fleeting>* held = nullptr;
};

TEST_F(ForeignGetter, OfAClassThatLetsGoOfTheItemLeavesItsSettersWhole) {
  const auto set = [](const auto& change) {
    auto fleeting = Fleeting::itemWithRepresentedObject("item");
    const auto heard = TreeRecorder::of(fleeting, {"isGroup"});
    fleeting->held = &fleeting;
    change(*fleeting);
    EXPECT_EQ(fleeting, nullptr);
  };
  set([](Fleeting& changing) { changing.setLabel("label"); });
}

}  // namespace
