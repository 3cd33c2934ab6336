// SPDX-License-Identifier: Apache-2.0
// One observer on every item of a tree.
#include "tests/support/AllocationCounter.h"
#include "tests/support/SmallStack.h"
#include "tests/support/TreeRecorder.h"

#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::ContextToken;
using platform::InvalidArgument;
using platform::ObservingOptions;
using test::identifiers;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::plainItem;
using test::TreeRecorder;

constexpr ContextToken token("token");
constexpr ContextToken other("other");

void add(const ItemPointer& root, const std::shared_ptr<TreeRecorder>& recorder,
         const ContextToken* context = &token) {
  root->addObserverForRecursiveChildrenWithOptionContext(recorder, ObservingOptions::newValue,
                                                         context);
}
void remove(const ItemPointer& root, const std::shared_ptr<TreeRecorder>& recorder,
            const ContextToken* context = &token) {
  root->removeObserverForRecursiveChildrenWithContext(recorder, context);
}

/// A tree with leaves on every level:
///
///     root - a
///          - b - c
///              - d - e
///              - f
///          - g
struct TreeRegistration : ::testing::Test {
  /// Those that have any observer, in post-order.
  std::string observed() const {
    KRAVTWVItemArray all = root->recursiveChildren();
    all.push_back(root);
    std::erase_if(all, [](const auto& item) { return !item->isObserved(); });
    return identifiers(all);
  }
  /// How often an item is registered on.
  std::size_t registrationsOn(const ItemPointer& item) const {
    item->setChildren(item->children());
    return recorder->take().size();
  }

  ItemPointer a = plainItem("a");
  ItemPointer c = plainItem("c");
  ItemPointer e = plainItem("e");
  ItemPointer d = plainItem("d", {e});
  ItemPointer f = plainItem("f");
  ItemPointer b = plainItem("b", {c, d, f});
  ItemPointer g = plainItem("g");
  ItemPointer root = plainItem("root", {a, b, g});
  std::shared_ptr<TreeRecorder> recorder = TreeRecorder::make();
  std::shared_ptr<TreeRecorder> another = TreeRecorder::make();
};

TEST_F(TreeRegistration, IsOnEveryItemOnce) {
  add(root, recorder);
  EXPECT_EQ(observed(), "[a, c, e, d, f, b, g, root]");
  for (const auto& item : root->recursiveChildren()) {
    EXPECT_EQ(registrationsOn(item), 1U) << item->description();
  }
  remove(root, recorder);
  EXPECT_EQ(observed(), "[]");
}

TEST_F(TreeRegistration, IsOnASubtreeAlone) {
  add(b, recorder);
  EXPECT_EQ(observed(), "[c, e, d, f, b]");
  remove(d, recorder);
  EXPECT_EQ(observed(), "[c, f, b]");
}

TEST_F(TreeRegistration, IsOnALeafAlone) {
  add(a, recorder);
  EXPECT_EQ(observed(), "[a]");
  remove(a, recorder);
  EXPECT_EQ(observed(), "[]");
}

TEST_F(TreeRegistration, IsOnItemsWhoseChildrenAreAbsentOrEmptyToo) {
  a->setChildren(nullptr);
  EXPECT_TRUE(c->children()->empty());
  f->setChildren(items({plainItem("passing")}));
  f->setChildren(items({}));
  g->addChild(plainItem("h"));
  g->removeChildrenAtIndexes({0});
  add(root, recorder);
  EXPECT_EQ(observed(), "[a, c, e, d, f, b, g, root]");
}

TEST_F(TreeRegistration, IsOnChildrenThatCameInEveryWay) {
  a->addChild(plainItem("added"));
  c->setChildren(items({plainItem("set")}));
  e->setChildren(nullptr);
  e->addChild(plainItem("added to nothing"));
  f->replaceChildren(items({plainItem("merged")}));
  g->children()->push_back(plainItem("pushed"));
  add(root, recorder);
  EXPECT_EQ(observed(),
            "[added, a, set, c, added to nothing, e, d, merged, f, b, pushed, g, root]");
}

TEST_F(TreeRegistration, StandsBesideDifferentOnes) {
  c->addObserver(another, "children", ObservingOptions::none, nullptr);
  f->addObserver(another, "children", ObservingOptions::none, nullptr);
  root->addObserver(another, "children", ObservingOptions::none, nullptr);
  b->addObserver(another, "label", ObservingOptions::none, nullptr);
  add(root, recorder);
  add(d, recorder, &other);
  remove(root, recorder);
  EXPECT_EQ(observed(), "[c, e, d, f, b, root]");
  remove(d, recorder, &other);
  EXPECT_EQ(observed(), "[c, f, b, root]");
  root->replaceChildren(nullptr);
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_NE(another->take(), Lines{});
}

TEST_F(TreeRegistration, IsOnAnItemAsOftenAsItStandsInTheTree) {
  // d stands below b and below g, and so does e.
  g->setChildren(items({d}));
  add(root, recorder);
  EXPECT_EQ(registrationsOn(e), 2U);
  EXPECT_EQ(registrationsOn(d), 2U);
  EXPECT_EQ(registrationsOn(f), 1U);
  remove(g, recorder);
  EXPECT_EQ(registrationsOn(e), 1U);
  EXPECT_EQ(observed(), "[a, c, e, d, f, b, e, d, root]");
  EXPECT_THROW(remove(root, recorder), InvalidArgument);
}

TEST_F(TreeRegistration, NeedsAnObserver) {
  EXPECT_THROW(add(root, nullptr), InvalidArgument);
  EXPECT_EQ(observed(), "[]");
}

TEST_F(TreeRegistration, IsWithdrawnUpToTheFirstItemWithoutIt) {
  for (const auto& missing : {a, c, e, d, f, b, g}) {
    add(root, recorder);
    missing->removeObserver(recorder, "children", &token);
    KRAVTWVItemArray left = root->recursiveChildren();
    left.erase(left.begin(), std::ranges::find(left, missing) + 1);
    left.push_back(root);
    EXPECT_THROW(remove(root, recorder), InvalidArgument);
    EXPECT_EQ(observed(), identifiers(left));
    for (const auto& item : left) {
      item->removeObserver(recorder, "children", &token);
    }
  }
}

TEST_F(TreeRegistration, IsNotFoundUnderAnotherContext) {
  add(root, recorder);
  EXPECT_THROW(remove(root, recorder, &other), InvalidArgument);
  EXPECT_THROW(remove(root, another), InvalidArgument);
  EXPECT_EQ(observed(), "[a, c, e, d, f, b, g, root]");
}

TEST_F(TreeRegistration, OfOneThatIsGoneMakesWayForTheNext) {
  add(root, another);
  another.reset();
  add(root, recorder);
  remove(root, recorder);
  EXPECT_EQ(observed(), "[]");
}

/// A thousand items on each of two levels below the root.
ItemPointer wideTree() {
  const auto level = [] {
    auto children = std::make_shared<KRAVTWVItemArray>();
    for (int i = 0; i < 1000; ++i) {
      children->push_back(plainItem("x"));
    }
    return children;
  };
  auto root = plainItem("root");
  root->setChildren(level());
  root->childAtIndex(500)->setChildren(level());
  return root;
}

TEST(WideTreeRegistration, TakesMemoryForTheObserverAndNotForTheItems) {
  const ItemPointer root = wideTree();
  const auto recorder = TreeRecorder::make();
  const auto observer = KRAVTWVItemsObserver::init();
  EXPECT_LE(test::allocationsOf([&] { add(root, recorder); }), 2U);
  EXPECT_LE(test::allocationsOf([&] { remove(root, recorder); }), 1U);
  add(root, recorder);
  const auto watch = [&] { observer->setRoot(root); };
  EXPECT_LE(test::allocationsOf(watch), 12U) << "most of it for the announcement";
  EXPECT_LE(test::allocationsOf(watch), 12U);
  observer->setRoot(nullptr);
}

TEST(WideTreeRegistration, OfAnItemsObserverFollowsManyItemsAtOnce) {
  const ItemPointer root = plainItem("root");
  const auto observer = KRAVTWVItemsObserver::init();
  observer->setRoot(root);
  const auto fresh = wideTree()->children();
  root->replaceChildren(fresh);
  const auto all = root->recursiveChildren();
  EXPECT_EQ(all.size(), 2000U);
  EXPECT_TRUE(std::ranges::all_of(all, [](const auto& item) { return item->isObserved(); }));
  root->replaceChildren(nullptr);
  EXPECT_TRUE(std::ranges::none_of(all, [](const auto& item) { return item->isObserved(); }));
}

TEST(DeepTreeRegistration, ComesAndGoes) {
  test::runOnSmallStack([] {
    const ItemPointer root = plainItem("n");
    ItemPointer last = root;
    for (std::size_t i = 1; i < test::deepNesting; ++i) {
      auto next = plainItem("n");
      last->addChild(next);
      last = std::move(next);
    }
    const auto recorder = TreeRecorder::make();
    add(root, recorder);
    last->setLabel("not of children");
    last->replaceChildren(items({plainItem("x")}));
    EXPECT_EQ(recorder->take(), Lines{"n children insertion {0} new=[x] (token)"});
    last->replaceChildren(nullptr);
    remove(root, recorder);
    EXPECT_FALSE(last->isObserved());
    EXPECT_FALSE(root->isObserved());
  });
}

}  // namespace
