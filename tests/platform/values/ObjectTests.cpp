// SPDX-License-Identifier: Apache-2.0
// The root of all objects, and the data source whose operations are all optional.
#include <gtest/gtest.h>
#include <vexil/platform/Object.h>
#include <vexil/platform/OutlineViewDataSource.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace platform = vexil::platform;

namespace platformtests {

struct Plain : platform::Object {
  // A description that adds to the usual one.
  [[nodiscard]] std::string longDescription() const { return defaultDescription() + "!"; }
};
struct Derived : Plain {};
template <class T>
struct Of : platform::Object {};

}  // namespace platformtests

namespace {

using platform::Object;
using platform::Value;
using platformtests::Derived;
using platformtests::Of;
using platformtests::Plain;

static_assert(!std::is_copy_constructible_v<Plain> && !std::is_copy_assignable_v<Plain>);
static_assert(!std::is_move_constructible_v<Plain> && !std::is_move_assignable_v<Plain>);
static_assert(std::has_virtual_destructor_v<Object>);

TEST(Object, IsEqualToItselfAlone) {
  const Plain one;
  const Plain other;
  EXPECT_TRUE(one.isEqual(one));
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_EQ(one.hash(), one.hash());
  EXPECT_NE(one.hash(), other.hash());
}

TEST(Object, IsEqualInAValueByIdentity) {
  const auto object = std::make_shared<Plain>();
  EXPECT_EQ(Value(object), Value(object));
  EXPECT_NE(Value(object), Value(std::make_shared<Plain>()));
}

TEST(Object, NamesItsOwnClassAsItIsWritten) {
  EXPECT_EQ(Plain().className(), "platformtests::Plain");
  EXPECT_EQ(static_cast<const Object&>(Derived()).className(), "platformtests::Derived");
  EXPECT_EQ(Of<int>().className(), "platformtests::Of<int>");
}

TEST(Object, DescribesItselfByClassAndAddress) {
  const Derived object;
  const std::string text = object.description();
  EXPECT_TRUE(text.starts_with("<platformtests::Derived: 0x")) << text;
  EXPECT_TRUE(text.ends_with(">")) << text;
  EXPECT_EQ(object.longDescription(), text + "!");
}

/// Its destructor appends its number to a list, and lets go of what it holds before or after.
class Numbered : public Object {
 public:
  Numbered(int number, std::vector<int>& gone) : _number(number), _gone(gone) {}
  ~Numbered() override {
    _gone.push_back(_number);
    for (auto& object : held) {
      platform::releaseWithoutRecursion(std::move(object));
    }
  }
  std::vector<std::shared_ptr<Object>> held;

 private:
  int _number;
  std::vector<int>& _gone;
};

TEST(Object, IsReleasedWithAllItHeldBeforeTheOutermostReleaseReturns) {
  //        0
  //     1     2
  //    3 4   (held elsewhere too)
  std::vector<int> gone;
  auto root = std::make_shared<Numbered>(0, gone);
  auto first = std::make_shared<Numbered>(1, gone);
  first->held = {std::make_shared<Numbered>(3, gone), std::make_shared<Numbered>(4, gone)};
  const auto second = std::make_shared<Numbered>(2, gone);
  root->held = {std::move(first), second};
  platform::releaseWithoutRecursion(std::move(root));
  EXPECT_EQ(gone.size(), 4U);
  EXPECT_EQ(gone[0], 0);
  EXPECT_EQ(gone[1], 1);
  EXPECT_EQ(second.use_count(), 1);
}

TEST(OutlineViewDataSource, AnswersNothingUnlessAClassDoes) {
  struct Silent : platform::OutlineViewDataSource {};
  struct Counting : platform::OutlineViewDataSource {
    [[nodiscard]] std::optional<std::size_t> numberOfChildrenOfItem(
        const Value& item) const override {
      return item.isAbsent() ? 1 : 0;
    }
  };
  const Silent silent;
  EXPECT_EQ(silent.numberOfChildrenOfItem(Value()), std::nullopt);
  EXPECT_EQ(silent.childOfItem(0, Value()), std::nullopt);
  EXPECT_EQ(silent.isItemExpandable(Value()), std::nullopt);
  EXPECT_EQ(silent.objectValueForItem(Value()), std::nullopt);
  EXPECT_EQ(Counting().numberOfChildrenOfItem(Value()), 1U);
  EXPECT_EQ(Counting().childOfItem(0, Value()), std::nullopt);
}

}  // namespace
