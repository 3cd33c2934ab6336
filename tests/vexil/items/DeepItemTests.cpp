// SPDX-License-Identifier: Apache-2.0
// Trees so deep that code that recursed would overflow its stack.
#include "tests/support/SmallStack.h"
#include "tests/vexil/ItemTesting.h"

#include <gtest/gtest.h>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::deepNesting;
using test::ItemPointer;
using test::items;
using test::plainItemWith;
using test::runOnSmallStack;

// n - n - n - ... , `deepNesting` items, the last of which represents `leaf`
struct Chain {
  explicit Chain(const Value& leaf = 0) {
    root = plainItemWith("n", deepNesting == 1 ? leaf : Value("n"));
    ItemPointer last = root;
    for (std::size_t i = 1; i < deepNesting; ++i) {
      const auto next = plainItemWith("n", i + 1 == deepNesting ? leaf : Value("n"));
      last->addChild(next);
      last = next;
    }
    deepest = last;
  }
  ItemPointer root;
  std::weak_ptr<KRAVTWVItemVexil> deepest;
};

TEST(DeepItem, IsBuiltAndDestroyed) {
  runOnSmallStack([] {
    Chain chain;
    EXPECT_FALSE(chain.deepest.expired());
    chain.root.reset();
    EXPECT_TRUE(chain.deepest.expired());
  });
}

TEST(DeepItem, IsDestroyedWhenItsArrayOutlivesIt) {
  runOnSmallStack([] {
    Chain chain;
    auto children = chain.root->children();
    chain.root.reset();
    EXPECT_FALSE(chain.deepest.expired());
    children.reset();
    EXPECT_TRUE(chain.deepest.expired());
  });
}

TEST(DeepItem, IsDestroyedWhenItIsRemoved) {
  runOnSmallStack([] {
    Chain chain;
    chain.root->removeChildrenAtIndexes({0});
    EXPECT_TRUE(chain.deepest.expired());
  });
}

TEST(DeepItem, IsDestroyedWhenItsParentIsGivenOtherChildren) {
  runOnSmallStack([] {
    Chain chain;
    chain.root->setChildren(nullptr);
    EXPECT_TRUE(chain.deepest.expired());
  });
}

TEST(DeepItem, IsBuiltFromTheLeafUp) {
  runOnSmallStack([] {
    ItemPointer item = plainItemWith("n", "leaf");
    const auto leaf = item;
    for (std::size_t i = 1; i < deepNesting; ++i) {
      auto parent = plainItemWith("n", "n");
      parent->setChildren(items({item}));
      item = std::move(parent);
    }
    EXPECT_EQ(item->recursiveChildren().front(), leaf);
  });
}

TEST(DeepItem, IsCompared) {
  runOnSmallStack([] {
    const Chain chain;
    const Chain same;
    const Chain other("another leaf");
    EXPECT_TRUE(chain.root->isEqual(*same.root));
    EXPECT_TRUE(chain.root->isEqualToItem(*same.root));
    EXPECT_FALSE(chain.root->isEqual(*other.root));
  });
}

TEST(DeepItem, IsHashed) {
  runOnSmallStack([] {
    const Chain chain;
    const Chain same;
    const Chain other("another leaf");
    EXPECT_EQ(chain.root->hash(), same.root->hash());
    EXPECT_NE(chain.root->hash(), other.root->hash());
  });
}

TEST(DeepItem, IsAddedBesideAnEqualOne) {
  runOnSmallStack([] {
    const Chain chain;
    const Chain same;
    const auto root = test::plainItem("root");
    root->addChildren({chain.root, same.root});
    EXPECT_EQ(*root->children(), KRAVTWVItemArray{same.root});
  });
}

TEST(DeepItem, IsWalked) {
  runOnSmallStack([] {
    const Chain chain;
    const auto items = chain.root->recursiveChildren();
    ASSERT_EQ(items.size(), deepNesting - 1);
    EXPECT_EQ(items.front(), chain.deepest.lock());
    EXPECT_EQ(items.back(), chain.root->childAtIndex(0));
  });
}

TEST(DeepItem, HasAPath) {
  runOnSmallStack([] {
    const Chain chain;
    const std::string path = chain.deepest.lock()->path();
    EXPECT_EQ(path.size(), 2 * deepNesting);
    EXPECT_TRUE(path.starts_with("/n/n"));
  });
}

TEST(DeepItem, IsFoundByItsPath) {
  runOnSmallStack([] {
    const Chain chain;
    std::string path;
    for (std::size_t i = 0; i < deepNesting; ++i) {
      path += "/n";
    }
    EXPECT_EQ(chain.root->itemWithPath(path), chain.deepest.lock());
    EXPECT_EQ(chain.root->itemWithPath(path + "/n"), nullptr);
  });
}

// On the stack of the main thread. A run with a limit makes it small.
TEST(DeepItemOnTheMainThread, LivesItsWholeLife) {
  Chain chain;
  const Chain same;
  EXPECT_TRUE(chain.root->isEqual(*same.root));
  EXPECT_EQ(chain.root->hash(), same.root->hash());
  EXPECT_EQ(chain.root->recursiveChildren().size(), deepNesting - 1);
  EXPECT_EQ(chain.root->itemWithPath(chain.deepest.lock()->path()), chain.deepest.lock());
  chain.root.reset();
  EXPECT_TRUE(chain.deepest.expired());
}

}  // namespace
