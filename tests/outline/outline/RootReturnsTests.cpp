// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>

#include <gtest/gtest.h>

using vexil::Outline;
using vexil::platform::Value;

namespace {

std::shared_ptr<KRAVTWVEventsVexil> listOfOne() {
  auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(Value::array(
      {Value::dictionary({{kTWEventUniqueID, Value("e1")}, {kTWEventName, Value("Backup")}})}));
  return list;
}

TEST(OutlineRoot, ShowsTheSameRootAgainAfterThereWasNone) {
  const auto list = listOfOne();
  Outline outline(list);
  (void)outline.update();
  const auto root = list->root();
  list->setRoot(nullptr);
  EXPECT_EQ(outline.update().rowsTouched(), 1U);
  EXPECT_EQ(outline.rowCount(), 0U);

  list->setRoot(root);
  EXPECT_EQ(outline.update().rowsTouched(), 1U);
  ASSERT_EQ(outline.rowCount(), 1U);
  EXPECT_EQ(outline.top().child(0)->label(), Value("Backup"));

  root->childAtIndex(0)->addChild(KRAVTWVGroupVexil::itemWithLabelUniqueID("New", "g"));
  root->replaceChildren(nullptr);
  EXPECT_EQ(outline.update().rowsTouched(), 1U) << "it is watched again";
}

TEST(OutlineUpdate, OfAnOperationInProgressSaysHowManyRowsAreShown) {
  const auto list = listOfOne();
  Outline outline(list);
  (void)outline.update();
  std::size_t rowsAfterwards = 0;
  const auto observation = vexil::platform::observe(
      list, "sortedEvents", vexil::platform::ObservingOptions::none,
      [&](const auto&) { rowsAfterwards = outline.update().rowsAfterwards(); });
  list->setEvents(Value::array({}));
  EXPECT_EQ(rowsAfterwards, 1U);
}

}  // namespace
