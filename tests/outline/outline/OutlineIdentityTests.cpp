// SPDX-License-Identifier: Apache-2.0
// Which row is the same row.
#include "OutlineTesting.h"

#include <gtest/gtest.h>
#include <vexil/outline/Outline.h>
#include <vexil/platform/Object.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::group;
using test::ItemPointer;
using test::items;
using test::plainItem;
using test::rowAt;
using test::textOf;
using test::updated;
using vexil::Outline;
using vexil::OutlineRow;

/// A host's object; what it does when it is compared is up to the test.
class Moody : public platform::Object {
 public:
  explicit Moody(int number) : _number(number) {}
  inline static bool throws = false;
  [[nodiscard]] bool isEqual(const Object& other) const override {
    if (throws) {
      throw std::runtime_error("a bad mood");
    }
    const auto* const moody = dynamic_cast<const Moody*>(&other);
    return moody != nullptr && moody->_number == _number;
  }
  [[nodiscard]] std::size_t hash() const override {
    if (throws) {
      throw std::runtime_error("a bad mood");
    }
    return static_cast<std::size_t>(_number);
  }

 private:
  int _number;
};

TEST(OutlineIdentity, ARowIsTheSameByItsIdentifierWhateverItemStandsForIt) {
  const auto root = test::root({plainItem("a"), plainItem("b")});
  Outline outline(root);
  (void)outline.update();
  OutlineRow* const a = &rowAt(outline, {0});
  OutlineRow* const b = &rowAt(outline, {1});
  root->setChildren(items({plainItem("b"), plainItem("a")}));
  (void)outline.update();
  EXPECT_EQ(outline.top().child(0), b);
  EXPECT_EQ(outline.top().child(1), a);
  EXPECT_EQ(a->item(), (*root->children())[1]);
}

TEST(OutlineIdentity, IdentifiersOfAnyTypeAreComparedByValue) {
  const std::vector<Value> identifiers = {"text",
                                          7,
                                          0.5,
                                          platform::Date{12},
                                          Value::null(),
                                          Value::array({1, "x"}),
                                          Value::dictionary({{"k", 1}}),
                                          Value(std::make_shared<Moody>(1))};
  const auto root = test::root();
  const auto childrenOfNow = [&] {
    KRAVTWVItemArray children;
    for (const Value& identifier : identifiers) {
      children.push_back(group(identifier));
    }
    return items(children);
  };
  root->setChildren(childrenOfNow());
  Outline outline(root);
  (void)outline.update();
  ASSERT_EQ(outline.rowCount(), identifiers.size());
  for (std::size_t i = 0; i < identifiers.size(); ++i) {
    EXPECT_EQ(outline.top().childWithUniqueID(identifiers[i]), outline.top().child(i));
  }
  EXPECT_EQ(outline.top().childWithUniqueID(Value(std::make_shared<Moody>(1))),
            outline.top().child(identifiers.size() - 1));
  root->setChildren(childrenOfNow());
  EXPECT_TRUE(outline.update().isEmpty());
  // 7 and 7.0 are equal.
  root->setChildren(items({group(7.0)}));
  OutlineRow* const seven = outline.top().child(1);
  (void)outline.update();
  EXPECT_EQ(outline.top().child(0), seven);
}

TEST(OutlineIdentity, ObjectsThatThrowWhenTheyAreComparedAreNotEqual) {
  test::LogLines log;
  const auto root = test::root({group(Value(std::make_shared<Moody>(1)))});
  Outline outline(root);
  (void)outline.update();
  const vexil::RowNumber before = rowAt(outline, {0}).number();
  Moody::throws = true;
  root->setChildren(items({group(Value(std::make_shared<Moody>(1)))}));
  const auto update = outline.update();
  Moody::throws = false;
  EXPECT_EQ(outline.rowCount(), 1U);
  EXPECT_NE(rowAt(outline, {0}).number(), before);
  EXPECT_TRUE(test::anyContains(log.take(), "a bad mood"));
}

TEST(OutlineIdentity, OfSiblingsWithOneIdentifierTheFirstIsTheFirst) {
  const auto root = test::root({plainItem("x"), plainItem("y"), plainItem("z"), plainItem("x")});
  Outline outline(root);
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "x y z x#1");
  OutlineRow* const first = outline.top().childWithUniqueID("x");
  OutlineRow* const second = outline.top().childWithUniqueID("x", 1);
  EXPECT_EQ(second, outline.top().child(3));
  EXPECT_EQ(outline.top().childWithUniqueID("x", 2), nullptr);
  // The first one goes: it is the second row that disappears.
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(updated(outline),
            "update steps=2 rows=2 of 3\n"
            "removed 3 of #0\n"
            "  #4 \"x\" absent occurrence=1\n"
            "moved 0 of #0 to 2 of #0\n"
            "  #1 \"x\" absent");
  EXPECT_EQ(textOf(outline), "y z x");
  EXPECT_EQ(outline.top().child(2), first);
}

TEST(OutlineIdentity, AnItemWithoutAnIdentifierIsIdentifiedByItself) {
  const auto nameless = KRAVTWVItemVexil::itemWithRepresentedObject("a");
  const auto other = KRAVTWVItemVexil::itemWithRepresentedObject("a");
  const auto root = test::root({});
  root->setChildren(items({nameless, other}));
  Outline outline(root);
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "- -");
  EXPECT_EQ(outline.top().childWithUniqueID({}), nullptr);
  OutlineRow* const first = outline.top().child(0);
  OutlineRow* const second = outline.top().child(1);
  root->setChildren(items({other, nameless}));
  (void)outline.update();
  EXPECT_EQ(outline.top().child(0), second);
  EXPECT_EQ(outline.top().child(1), first);
  root->setChildren(items({KRAVTWVItemVexil::itemWithRepresentedObject("a"), other}));
  const auto update = outline.update();
  ASSERT_EQ(update.steps().size(), 2U);
  EXPECT_EQ(update.steps()[0].kind, vexil::OutlineStep::Kind::removed);
  EXPECT_EQ(outline.top().child(1), second);
}

TEST(OutlineIdentity, AnItemWithoutAnIdentifierMayStandTwiceAmongItsSiblings) {
  const auto nameless = KRAVTWVItemVexil::itemWithRepresentedObject("a");
  const auto root = test::root();
  root->setChildren(items({nameless}));
  Outline outline(root);
  (void)outline.update();
  OutlineRow* const first = outline.top().child(0);
  root->setChildren(items({nameless, nameless}));
  (void)outline.update();
  ASSERT_EQ(outline.rowCount(), 2U);
  EXPECT_EQ(outline.top().child(0), first);
  root->setChildren(items({nameless, plainItem("b"), nameless, nameless}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "- b -#1 -#2");
  root->setChildren(items({nameless}));
  (void)outline.update();
  EXPECT_EQ(outline.rowCount(), 1U);
  EXPECT_EQ(outline.top().child(0), first);
}

TEST(OutlineIdentity, ARowBelowAnotherParentIsAnotherRow) {
  const auto root = test::root({group("a", {plainItem("x")}), group("b", {plainItem("x")})});
  Outline outline(root);
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a[x] b[x]");
  EXPECT_NE(rowAt(outline, {0, 0}).number(), rowAt(outline, {1, 0}).number());
}

// Its parent moves, and so does the first of two siblings, elsewhere. The second is the first now.
TEST(OutlineIdentity, AnotherOccurrenceBelowTheSameParentIsAnotherRow) {
  const auto groupX = group("x");
  const auto parent = group("m", {test::eventItem("x", "event"), groupX});
  const auto root = test::root({group("r"), group("p", {parent}), group("q")});
  Outline outline(root);
  (void)outline.update();
  ASSERT_EQ(textOf(outline), "r p[m[x x#1]] q");
  OutlineRow* const event = &rowAt(outline, {1, 0, 0});
  OutlineRow* const row = &rowAt(outline, {1, 0});
  parent->setChildren(items({groupX}));
  root->setChildren(
      items({group("r", {test::eventItem("x", "event")}), group("p"), group("q", {parent})}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "r[x] p q[m[x]]");
  EXPECT_EQ(&rowAt(outline, {0, 0}), event);
  EXPECT_EQ(&rowAt(outline, {2, 0}), row);
}

// A row moves away from deep below a row that moves itself.
TEST(OutlineIdentity, WhereARowMovedAwayAnotherComes) {
  const auto leaf = test::eventItem("x", "event");
  const auto moving = group("m", {group("a", {group("b", {leaf})})});
  const auto root = test::root({group("r"), group("p", {moving}), group("q")});
  Outline outline(root);
  (void)outline.update();
  ASSERT_EQ(textOf(outline), "r p[m[a[b[x]]]] q");
  const vexil::RowNumber number = rowAt(outline, {1, 0, 0, 0, 0}).number();
  leaf->setRepresentedObject(test::eventRecord("y", "event"));
  root->setChildren(
      items({group("r", {test::eventItem("x", "event")}), group("p"), group("q", {moving})}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "r[x] p q[m[a[b[y]]]]");
  EXPECT_EQ(outline.rowCount(), 8U);
  EXPECT_EQ(rowAt(outline, {0, 0}).number(), number);
}

// The row that moves has another item then, and its old one still has all children.
TEST(OutlineIdentity, WhereARowMovedAwayFromTheItemBefore) {
  const auto root = test::root(
      {group("p", {group("m", {plainItem("x"), plainItem("y")})}), group("q"), group("r")});
  Outline outline(root);
  (void)outline.update();
  const KRAVTWVItemArray before = *root->children();  // so that the old items live on
  root->setChildren(items(
      {group("p"), group("q", {plainItem("x")}), group("r", {group("m", {plainItem("z")})})}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "p q[x] r[m[z]]");
  EXPECT_EQ(outline.rowCount(), 6U);
}

TEST(OutlineIdentity, ARowThatReturnsGetsANewNumber) {
  const auto root = test::root({plainItem("a")});
  Outline outline(root);
  (void)outline.update();
  const vexil::RowNumber number = rowAt(outline, {0}).number();
  root->setChildren(items({}));
  (void)outline.update();
  root->setChildren(items({plainItem("a")}));
  (void)outline.update();
  EXPECT_GT(rowAt(outline, {0}).number(), number);
}

TEST(OutlineIdentity, ARowKeepsItsAddressWhenItsClassChanges) {
  const auto root = test::root({plainItem("a")});
  Outline outline(root);
  (void)outline.update();
  OutlineRow* const row = outline.top().child(0);
  root->setChildren(items({test::eventItem("a", "event")}));
  (void)outline.update();
  EXPECT_EQ(outline.top().child(0), row);
  EXPECT_EQ(row->state().className(), "KRAVTWVEventVexil");
}

}  // namespace
