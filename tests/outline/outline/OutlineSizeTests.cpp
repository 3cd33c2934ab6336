// SPDX-License-Identifier: Apache-2.0
// Deep trees and wide ones.
#include "OutlineTesting.h"
#include "tests/support/SmallStack.h"

#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/RowSet.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::group;
using test::items;
using vexil::Outline;
using vexil::OutlineStep;

/// Groups, each the only child of the one before. The deepest has this identifier.
test::ItemPointer chain(std::size_t length, const char* deepest) {
  test::ItemPointer item = group(deepest);
  for (std::size_t i = 1; i < length; ++i) {
    item = group("g", {item});
  }
  return item;
}

TEST(OutlineSize, DeepTreesWithoutRecursion) {
  test::runOnSmallStack([] {
    const auto root = test::root();
    root->setChildren(items({chain(test::deepNesting, "deepest")}));
    Outline outline(root);
    EXPECT_EQ(outline.update().rowsTouched(), test::deepNesting);
    vexil::OutlineRow* row = &outline.top();
    while (row->childCount() != 0) {
      row = row->child(0);
    }
    EXPECT_EQ(row->uniqueID(), Value("deepest"));
    row->item()->setChildren(items({group("below")}));
    EXPECT_EQ(outline.update().steps().size(), 2U);
    outline.refreshAll();
    EXPECT_TRUE(outline.update().isEmpty());

    // All of it moves, and another one comes in its place.
    const auto first = root->children()->front();
    root->setChildren(items({group("above", {first}), chain(test::deepNesting, "other")}));
    (void)outline.update();
    EXPECT_EQ(outline.rowCount(), 2 * test::deepNesting + 2);
    root->setChildren(items({}));
    const auto update = outline.update();
    EXPECT_EQ(update.rowsTouched(), 2 * test::deepNesting + 2);
    EXPECT_EQ(outline.rowCount(), 0U);
  });
}

TEST(OutlineSize, ADeepRowMovesToAnotherParentWithoutRecursion) {
  test::runOnSmallStack([] {
    const auto root = test::root();
    root->setChildren(items({chain(test::deepNesting, "deepest"), group("b")}));
    Outline outline(root);
    (void)outline.update();
    vexil::OutlineRow* row = &outline.top();
    while (row->childCount() != 0) {
      row = row->child(0);
    }
    vexil::RowSet set;
    set.insert(*row);
    row->parent()->item()->setChildren(items({}));
    root->children()->back()->setChildren(items({group("deepest")}));
    const auto update = outline.update();
    ASSERT_EQ(update.steps()[0].kind, OutlineStep::Kind::moved);
    EXPECT_EQ(update.steps()[0].above.size(), test::deepNesting - 1);
    set.follow(update);
    EXPECT_EQ(set.rowsOf(outline), std::vector{row});
  });
}

TEST(OutlineSize, ATreeThatIsDestroyedWithADeepOutline) {
  test::runOnSmallStack([] {
    auto root = test::root();
    root->setChildren(items({chain(test::deepNesting, "deepest")}));
    Outline outline(root);
    (void)outline.update();
    root.reset();
    EXPECT_EQ(outline.update().rowsTouched(), test::deepNesting);
  });
}

Value manyEvents(std::size_t count, std::size_t renamed) {
  std::vector<Value> all;
  for (std::size_t i = 0; i < count; ++i) {
    std::string name = std::to_string(1'000'000 + (i == renamed ? count : i));
    all.push_back(test::eventRecord("e" + std::to_string(i), name));
  }
  return test::records(std::move(all));
}

TEST(OutlineSize, WideLevels) {
  constexpr std::size_t count = 20'000;
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(manyEvents(count, count));
  Outline outline(list);
  EXPECT_EQ(outline.update().steps().size(), 1U);
  EXPECT_EQ(outline.rowCount(), count);
  for (const std::size_t index : {std::size_t{0}, count / 2, count - 1}) {
    vexil::OutlineRow* const row = outline.top().child(index);
    EXPECT_EQ(row->index(), index);
    EXPECT_EQ(outline.top().childWithUniqueID("e" + std::to_string(index)), row);
  }
  EXPECT_EQ(outline.top().child(count), nullptr);
  list->setEvents(manyEvents(count, 5));
  const auto update = outline.update();
  ASSERT_EQ(update.steps().size(), 2U);
  EXPECT_EQ(update.steps()[0].kind, OutlineStep::Kind::moved);
  EXPECT_EQ(update.steps()[0].first, 5U);
  EXPECT_EQ(update.steps()[0].newFirst, count - 1);
  EXPECT_EQ(update.rowsTouched(), 2U);
}

TEST(OutlineSize, AWideLevelThatIsTurnedRound) {
  constexpr std::size_t count = 3'000;
  KRAVTWVItemArray children;
  for (std::size_t i = 0; i < count; ++i) {
    children.push_back(group(i));
  }
  const auto root = test::root();
  root->setChildren(items(children));
  Outline outline(root);
  (void)outline.update();
  std::ranges::reverse(children);
  root->setChildren(items(children));
  const auto update = outline.update();
  EXPECT_EQ(update.steps().size(), count - 1);
  for (std::size_t i = 0; i < count; ++i) {
    ASSERT_EQ(outline.top().child(i)->item(), children[i]);
    ASSERT_EQ(outline.top().child(i)->index(), i);
  }
}

}  // namespace
