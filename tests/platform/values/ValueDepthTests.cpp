// SPDX-License-Identifier: Apache-2.0
// Values nested far deeper than the stack allows to recurse. Every operation runs on a small stack.
#include <gtest/gtest.h>
#include <vexil/platform/Value.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "tests/support/SmallStack.h"

namespace platform = vexil::platform;

namespace {

using platform::Object;
using platform::Value;

/// An object that holds a value, and is equal to itself alone.
class Box : public Object {
 public:
  explicit Box(Value content) : _content(std::move(content)) {}
  [[nodiscard]] std::size_t hash() const override { return 3; }
  [[nodiscard]] std::string description() const override { return "box"; }

 private:
  Value _content;
};

/// One level around `inner`.
using Wrap = Value (*)(Value inner, std::size_t level);

Value inArray(Value inner, std::size_t /*level*/) {
  std::vector<Value> elements(1);
  elements[0] = std::move(inner);
  return Value::array(std::move(elements));
}
Value inDictionary(Value inner, std::size_t /*level*/) {
  return Value::dictionary({{"before", 1}, {"inner", std::move(inner)}, {"after", 2}});
}
Value inTurns(Value inner, std::size_t level) {
  return level % 2 == 0 ? inArray(std::move(inner), level) : inDictionary(std::move(inner), level);
}
Value inObject(Value inner, std::size_t /*level*/) {
  return std::make_shared<Box>(std::move(inner));
}
Value inEverything(Value inner, std::size_t level) {
  return level % 3 == 0 ? inObject(std::move(inner), level) : inTurns(std::move(inner), level);
}

Value nested(Wrap wrap, Value innermost) {
  Value value = std::move(innermost);
  for (std::size_t level = 0; level < test::deepNesting; ++level) {
    value = wrap(std::move(value), level);
  }
  return value;
}

struct Nesting {
  const char* name;
  Wrap wrap;
};

class DeepValue : public testing::TestWithParam<Nesting> {
 protected:
  [[nodiscard]] Value make(Value innermost = "innermost") const {
    return nested(GetParam().wrap, std::move(innermost));
  }
};

/// The containers that operations walk through. They do not walk through objects, but ask them.
class DeepContainer : public DeepValue {};

TEST_P(DeepValue, IsBuiltAndDestroyed) {
  test::runOnSmallStack([this] {
    Value value = make();
    Value copy = value;
    value = Value();
    EXPECT_FALSE(copy.isAbsent());
    copy = 1;
  });
}

TEST_P(DeepValue, IsDestroyedFromInsideAnother) {
  test::runOnSmallStack([this] {
    Value array = Value::array({make(), Value::dictionary({{"a", make()}, {"b", 2}}), make()});
    array = Value();
    EXPECT_TRUE(array.isAbsent());
  });
}

TEST_P(DeepValue, IsEqualToItsCopy) {
  test::runOnSmallStack([this] {
    const Value value = make();
    const Value copy = value;  // NOLINT(performance-unnecessary-copy-initialization): the point
    EXPECT_TRUE(value == copy);
    EXPECT_EQ(value.compare(copy), std::weak_ordering::equivalent);
  });
}

TEST_P(DeepValue, HashesTheSameEveryTime) {
  test::runOnSmallStack([this] {
    const Value value = make();
    EXPECT_EQ(value.hash(), Value(value).hash());
  });
}

TEST_P(DeepValue, IsDescribed) {
  test::runOnSmallStack([this] { EXPECT_FALSE(make().description().empty()); });
}

INSTANTIATE_TEST_SUITE_P(Nestings, DeepValue,
                         testing::Values(Nesting{"Arrays", inArray},
                                         Nesting{"Dictionaries", inDictionary},
                                         Nesting{"ArraysAndDictionaries", inTurns},
                                         Nesting{"Objects", inObject},
                                         Nesting{"Everything", inEverything}),
                         [](const auto& tested) { return tested.param.name; });

TEST_P(DeepContainer, IsEqualToOneOfTheSameContent) {
  test::runOnSmallStack([this] {
    const Value one = make();
    const Value two = make();
    EXPECT_TRUE(one == two);
    EXPECT_EQ(one.hash(), two.hash());
    EXPECT_EQ(one.compare(two), std::weak_ordering::equivalent);
  });
}

TEST_P(DeepContainer, DiffersByItsInnermostPart) {
  test::runOnSmallStack([this] { EXPECT_FALSE(make("one") == make("two")); });
}

TEST_P(DeepContainer, DiffersFromOneThatIsDeeper) {
  test::runOnSmallStack([this] {
    EXPECT_FALSE(make() == make(inArray("innermost", 0)));
    EXPECT_FALSE(make() == make(inDictionary("innermost", 0)));
  });
}

TEST_P(DeepContainer, IsDescribedToItsInnermostPart) {
  test::runOnSmallStack([this] {
    const std::string text = make().description();
    EXPECT_NE(text.find("\"innermost\""), std::string::npos);
    EXPECT_GE(text.size(), 2 * test::deepNesting);
  });
}

INSTANTIATE_TEST_SUITE_P(Nestings, DeepContainer,
                         testing::Values(Nesting{"Arrays", inArray},
                                         Nesting{"Dictionaries", inDictionary},
                                         Nesting{"ArraysAndDictionaries", inTurns}),
                         [](const auto& tested) { return tested.param.name; });

/// An object that owns the next one and lets go of it without recursion.
class Link : public Object {
 public:
  explicit Link(std::shared_ptr<Object> next) : _next(std::move(next)) {}
  ~Link() override { platform::releaseWithoutRecursion(std::move(_next)); }

 private:
  std::shared_ptr<Object> _next;
};

TEST(DeepChain, OfObjectsIsReleasedWithoutRecursion) {
  test::runOnSmallStack([] {
    std::shared_ptr<Object> chain;
    for (std::size_t i = 0; i < test::deepNesting; ++i) {
      chain = std::make_shared<Link>(std::move(chain));
    }
    platform::releaseWithoutRecursion(std::move(chain));
    EXPECT_EQ(chain, nullptr);
  });
}

TEST(DeepChain, IsReleasedByTheObjectAtItsHeadAsWell) {
  test::runOnSmallStack([] {
    std::shared_ptr<Object> chain;
    for (std::size_t i = 0; i < test::deepNesting; ++i) {
      chain = std::make_shared<Link>(std::move(chain));
    }
    chain.reset();
    EXPECT_EQ(chain, nullptr);
  });
}

TEST(DeepChain, LeavesWhatOthersHoldAlone) {
  const auto held = std::make_shared<Link>(nullptr);
  std::shared_ptr<Object> other = held;
  platform::releaseWithoutRecursion(std::move(other));
  EXPECT_EQ(held.use_count(), 1);
  platform::releaseWithoutRecursion(std::shared_ptr<Object>());
}

TEST(DeepChain, ThatHangsOnAValueOfTheThreadGoesWithTheThread) {
  std::weak_ptr<Object> last;
  test::runOnSmallStack([&last] {
    thread_local Value kept;
    const auto object = std::make_shared<Box>(Value());
    last = object;
    kept = nested(inEverything, Value(object));
  });
  EXPECT_TRUE(last.expired());
}

}  // namespace
