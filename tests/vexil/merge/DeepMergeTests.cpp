// SPDX-License-Identifier: Apache-2.0
// Merging and following deep trees. Code that recursed would overflow its stack. Code that walked
// the whole tree once for each level would not end.
#include "tests/support/SmallStack.h"
#include "tests/support/TreeRecorder.h"

#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::deepNesting;
using test::ItemPointer;
using test::Lines;
using test::plainItem;
using test::plainItemWith;
using test::runOnSmallStack;
using test::TreeRecorder;

/// n - n - n - ... , `depth` items, of which the first represents `first` and the last `leaf`.
ItemPointer chain(const Value& first, const Value& leaf, std::size_t depth = deepNesting) {
  const auto top = plainItemWith("n", first);
  auto last = top;
  for (std::size_t i = 1; i < depth; ++i) {
    auto next = plainItemWith("n", i + 1 == depth ? leaf : Value("n"));
    last->addChild(next);
    last = std::move(next);
  }
  return top;
}

/// An array that is the only holder of its item, as a collection hands it over. The merge compares
/// every level anew of items that others hold, too. `items({item})` would not do: the list in it
/// holds the item until the statement ends.
std::shared_ptr<KRAVTWVItemArray> only(ItemPointer item) {
  auto array = std::make_shared<KRAVTWVItemArray>();
  array->push_back(std::move(item));
  return array;
}

ItemPointer leafOf(const ItemPointer& root) {
  return root->recursiveChildren().front();
}

/// Counts reports by their kinds.
struct Counter : KRAVTWVItemsObserverDelegate {
  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& /*observer*/, platform::ChangeKind kind,
      const KRAVTWVItemArray& /*items*/, const std::optional<platform::IndexSet>& /*indexes*/,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) override {
    ++counts[static_cast<unsigned>(kind)];
    lastParent = parent;
  }
  std::size_t counts[5] = {};
  std::weak_ptr<KRAVTWVItemVexil> lastParent;
};

/// A root, watched by an items observer.
struct Watched {
  Watched() {
    observer->setDelegate(counter);
    observer->setRoot(root);
  }
  std::size_t insertions() const { return counter->counts[2]; }
  std::size_t removals() const { return counter->counts[3]; }
  std::size_t replacements() const { return counter->counts[4]; }

  ItemPointer root = plainItem("root");
  std::shared_ptr<Counter> counter = std::make_shared<Counter>();
  std::shared_ptr<KRAVTWVItemsObserver> observer = KRAVTWVItemsObserver::init();
};

TEST(DeepMerge, ReachesTheLeafOfATreeThatNobodyWatches) {
  runOnSmallStack([] {
    const auto root = plainItem("root", {chain("n", "old")});
    const std::weak_ptr<KRAVTWVItemVexil> leaf = leafOf(root);
    root->replaceChildren(only(chain("n", "new")));
    EXPECT_EQ(leafOf(root), leaf.lock());
    EXPECT_EQ(leaf.lock()->representedObject(), Value("new"));
  });
}

TEST(DeepMerge, FindsThatNothingChanged) {
  runOnSmallStack([] {
    const auto root = plainItem("root", {chain("n", "leaf")});
    const auto recorder = TreeRecorder::of(root);
    root->replaceChildren(only(chain("n", "leaf")));
    EXPECT_EQ(recorder->take(), Lines{});
  });
}

TEST(DeepMerge, LengthensAndShortensAChain) {
  runOnSmallStack([] {
    const auto root = plainItem("root", {chain("n", "n", deepNesting / 2)});
    root->replaceChildren(only(chain("n", "n")));
    EXPECT_EQ(root->recursiveChildren().size(), deepNesting);
    root->replaceChildren(only(chain("n", "n", deepNesting / 2)));
    EXPECT_EQ(root->recursiveChildren().size(), deepNesting / 2);
  });
}

TEST(DeepMerge, IsFollowedAsItComesChangesAndGoes) {
  runOnSmallStack([] {
    Watched tree;
    tree.root->replaceChildren(only(chain("first", "leaf")));
    EXPECT_EQ(tree.insertions(), 1U);
    const std::weak_ptr<KRAVTWVItemVexil> leaf = leafOf(tree.root);
    EXPECT_TRUE(leaf.lock()->isObserved());

    tree.root->replaceChildren(only(chain("first", "leaf")));
    EXPECT_EQ(tree.replacements(), 0U);
    tree.root->replaceChildren(only(chain("changed", "leaf")));
    EXPECT_EQ(tree.replacements(), 1U);

    leaf.lock()->replaceChildren(only(plainItem("below")));
    EXPECT_EQ(tree.insertions(), 2U);
    EXPECT_EQ(tree.counter->lastParent.lock(), leaf.lock());

    tree.root->replaceChildren(nullptr);
    EXPECT_EQ(tree.removals(), 1U);
    EXPECT_TRUE(leaf.expired());
  });
}

TEST(DeepMerge, IsLeftForAnotherTreeAndDestroyed) {
  runOnSmallStack([] {
    Watched tree;
    tree.root->replaceChildren(only(chain("first", "leaf")));
    const auto leaf = leafOf(tree.root);
    tree.observer->setRoot(nullptr);
    EXPECT_FALSE(leaf->isObserved());
    tree.observer->setRoot(tree.root);
    EXPECT_TRUE(leaf->isObserved());
    const std::weak_ptr<KRAVTWVItemVexil> first = tree.root->childAtIndex(0);
    tree.root.reset();  // still watched
    EXPECT_TRUE(first.expired());
    EXPECT_EQ(tree.observer->root(), nullptr);
  });
}

// The observer withdraws from each level that is replaced, and from all below it, and registers
// again. That takes the square of the depth, so this chain is shorter.
TEST(DeepMerge, IsFollowedThroughEveryLevelAtOnce) {
  runOnSmallStack([] {
    static constexpr std::size_t depth = 1'000;
    Watched tree;
    tree.root->replaceChildren(only(chain("n", "old", depth)));
    const auto leaf = leafOf(tree.root);
    tree.root->replaceChildren(only(chain("n", "new", depth)));
    EXPECT_EQ(tree.replacements(), depth);
    EXPECT_EQ(tree.counter->lastParent.lock(), tree.root);
    EXPECT_EQ(leaf->representedObject(), Value("new"));
    leaf->replaceChildren(only(plainItem("below")));
    EXPECT_EQ(tree.insertions(), 2U) << "registered once after all";
  });
}

// An exception leaves through as many changes in progress as there are levels.
TEST(DeepMerge, FailsAtTheLeafWithoutRecursion) {
  runOnSmallStack([] {
    const auto root = plainItem("root", {chain("n", "old")});
    const auto recorder = TreeRecorder::of(root);
    auto fresh = chain("n", "new");
    const auto nameless = plainItem("nameless");
    nameless->setUniqueID({});
    leafOf(fresh)->addChild(nameless);
    EXPECT_THROW(root->replaceChildren(only(std::move(fresh))), platform::InvalidArgument);
    EXPECT_EQ(recorder->take(), Lines{});
    EXPECT_EQ(leafOf(root)->representedObject(), Value("new"));
  });
}

// On the stack of the main thread. A run with a limit makes it small.
TEST(DeepMergeOnTheMainThread, IsMergedFollowedAndDestroyed) {
  Watched tree;
  tree.root->replaceChildren(only(chain("first", "leaf")));
  tree.root->replaceChildren(only(chain("changed", "leaf")));
  EXPECT_EQ(tree.replacements(), 1U);
  tree.observer->setRoot(nullptr);
  tree.root->replaceChildren(only(chain("changed", "another leaf")));
  EXPECT_EQ(leafOf(tree.root)->representedObject(), Value("another leaf"));
  const std::weak_ptr<KRAVTWVItemVexil> leaf = leafOf(tree.root);
  tree.root.reset();
  EXPECT_TRUE(leaf.expired());
}

}  // namespace
