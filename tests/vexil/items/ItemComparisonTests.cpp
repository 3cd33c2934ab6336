// SPDX-License-Identifier: Apache-2.0
// Equality by content, its direction, and the hash that agrees with it.
#include "tests/support/Property.h"
#include "tests/vexil/ItemTesting.h"

#include <gtest/gtest.h>

#include <functional>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::ItemPointer;

/// An item of class `Kind` that represents `object`, with these children.
template <class Kind = KRAVTWVItemVexil>
ItemPointer of(const Value& object, const KRAVTWVItemArray& children = {}) {
  const auto item = Kind::itemWithRepresentedObject(object);
  item->addChildren(children);
  return item;
}

TEST(ItemEquality, IsByRepresentedObjectAndNotByIdentity) {
  EXPECT_TRUE(of("x")->isEqual(*of("x")));
  EXPECT_FALSE(of("x")->isEqual(*of("y")));
  EXPECT_EQ(of("x")->hash(), of("x")->hash());
}

TEST(ItemEquality, TakesNoNoticeOfIdentifierLabelOrParent) {
  const auto parent = of("parent");
  const auto a = of("x");
  const auto b = of("x");
  a->setUniqueID("a");
  a->setLabel("A");
  b->setUniqueID("b");
  b->setLabel("B");
  parent->addChild(b);
  EXPECT_TRUE(a->isEqual(*b));
  EXPECT_TRUE(b->isEqual(*a));
  EXPECT_EQ(a->hash(), b->hash());
}

// x - a, where the two trees name their children otherwise
TEST(ItemEquality, TakesNoNoticeOfThoseOfTheChildrenEither) {
  const auto named = [](const char* name) {
    const auto child = of("a");
    child->setUniqueID(name);
    child->setLabel(name);
    return of("x", {child});
  };
  EXPECT_TRUE(named("left")->isEqual(*named("right")));
  EXPECT_EQ(named("left")->hash(), named("right")->hash());
}

TEST(ItemEquality, ComparesRepresentedObjectsByValue) {
  EXPECT_TRUE(of(1)->isEqual(*of(1.0)));
  EXPECT_EQ(of(1)->hash(), of(1.0)->hash());
  EXPECT_TRUE(of(test::eventRecord("e", "E"))->isEqual(*of(test::eventRecord("e", "E"))));
  EXPECT_FALSE(of(test::eventRecord("e", "E"))->isEqual(*of(test::eventRecord("e", "E", true))));
  EXPECT_TRUE(of(Value::null())->isEqual(*of(Value::null()))) << "a null marker is an object";
}

TEST(ItemEquality, ComparesChildrenOneByOneInOrder) {
  const auto ab = of("x", {of("a"), of("b")});
  EXPECT_TRUE(ab->isEqual(*of("x", {of("a"), of("b")})));
  EXPECT_EQ(ab->hash(), of("x", {of("a"), of("b")})->hash());
  EXPECT_FALSE(ab->isEqual(*of("x", {of("b"), of("a")})));
  EXPECT_FALSE(ab->isEqual(*of("x", {of("a")})));
  EXPECT_FALSE(of("x", {of("a")})->isEqual(*ab));
  EXPECT_FALSE(ab->isEqual(*of("x")));
}

//   x - a - c         x - a - d
TEST(ItemEquality, LooksIntoTheWholeSubtree) {
  const auto tree = of("x", {of("a", {of("c")})});
  EXPECT_TRUE(tree->isEqual(*of("x", {of("a", {of("c")})})));
  EXPECT_FALSE(tree->isEqual(*of("x", {of("a", {of("d")})})));
  EXPECT_EQ(tree->hash(), of("x", {of("a", {of("c")})})->hash());
}

TEST(ItemEquality, OfAnItemThatRepresentsNothingIsIdentity) {
  const auto nothing = of({});
  EXPECT_TRUE(nothing->isEqual(*nothing));
  EXPECT_FALSE(nothing->isEqual(*of({})));
  EXPECT_FALSE(nothing->isEqual(*of("x")));
  EXPECT_FALSE(of("x")->isEqual(*nothing));
}

TEST(ItemEquality, OfContentIsFalseWithoutARepresentedObjectEvenWithItself) {
  const auto nothing = of({});
  EXPECT_FALSE(nothing->isEqualToItem(*nothing));
  const auto something = of("x");
  EXPECT_TRUE(something->isEqualToItem(*something));
}

// x - nothing: the two trees share the child, which equals itself alone.
TEST(ItemEquality, OfTreesAsksTheirChildrenAndNotForTheirContent) {
  const auto nothing = of({});
  EXPECT_TRUE(of("x", {nothing})->isEqual(*of("x", {nothing})));
  EXPECT_EQ(of("x", {nothing})->hash(), of("x", {nothing})->hash());
  EXPECT_FALSE(of("x", {nothing})->isEqual(*of("x", {of({})})));
}

TEST(ItemEquality, WithAnAbsentObjectOrAnotherTypeIsFalse) {
  const auto item = of("x");
  EXPECT_FALSE(item->isEqual(Value()));
  EXPECT_FALSE(item->isEqual(Value("x")));
  EXPECT_FALSE(item->isEqual(ItemPointer()));
  EXPECT_FALSE(item->isEqual(platform::NetService("x", "x", "x")));
  EXPECT_TRUE(item->isEqual(Value(of("x")))) << "of a value that refers to an item";
}

TEST(ItemEquality, HasADirectionBetweenClassAndSubclass) {
  const auto base = of("x");
  const auto group = of<KRAVTWVGroupVexil>("x");
  EXPECT_TRUE(base->isEqual(*group));
  EXPECT_FALSE(group->isEqual(*base));
  EXPECT_EQ(base->hash(), group->hash()) << "equal in one direction";
  EXPECT_TRUE(group->isEqual(*of<KRAVTWVGroupVexil>("x")));
}

TEST(ItemEquality, ComparesTheContentOfItemsOfAnyClasses) {
  EXPECT_TRUE(of<KRAVTWVGroupVexil>("x")->isEqualToItem(*of("x")));
  EXPECT_TRUE(of<KRAVTWVGroupVexil>("x")->isEqualToItem(*of<KRAVTWVEventVexil>("x")));
  EXPECT_FALSE(of<KRAVTWVGroupVexil>("x")->isEqual(*of<KRAVTWVEventVexil>("x")));
}

TEST(ItemEquality, HasItsDirectionAtEveryLevel) {
  const auto plainInside = of("x", {of("a")});
  const auto groupInside = of("x", {of<KRAVTWVGroupVexil>("a")});
  EXPECT_TRUE(plainInside->isEqual(*groupInside));
  EXPECT_FALSE(groupInside->isEqual(*plainInside));
}

TEST(ItemEquality, IsFalseWhenTheChildrenOfEitherAreAbsent) {
  const auto with = of("x");
  const auto without = of("x");
  without->setChildren(nullptr);
  const auto alsoWithout = of("x");
  alsoWithout->setChildren(nullptr);
  EXPECT_FALSE(without->isEqual(*with));
  EXPECT_FALSE(with->isEqual(*without));
  EXPECT_FALSE(without->isEqual(*alsoWithout));
  EXPECT_TRUE(without->isEqual(*without));
}

/// It equals everything, and only itself equals it.
class Agreeable : public platform::Object {
 public:
  [[nodiscard]] bool isEqual(const Object& /*other*/) const override { return true; }
  [[nodiscard]] std::size_t hash() const override { return 7; }
};

TEST(ItemEquality, AsksTheReceiversRepresentedObject) {
  const auto agreeable = of(std::make_shared<Agreeable>());
  const auto service = of(std::make_shared<platform::NetService>("a", "b", "c"));
  EXPECT_TRUE(agreeable->isEqual(*service));
  EXPECT_FALSE(service->isEqual(*agreeable));
}

TEST(ItemEquality, OfItemsThatRepresentItemsGoesThrough) {
  EXPECT_TRUE(of(of("x"))->isEqual(*of(of("x"))));
  EXPECT_EQ(of(of("x"))->hash(), of(of("x"))->hash());
  EXPECT_FALSE(of(of("x"))->isEqual(*of(of("y"))));
}

// --- hash

TEST(ItemHash, CombinesRepresentedObjectAndChildrenWithFactor31) {
  const std::size_t ofNothing = of({})->hash();  // 31 * 0 + hash of no children + 961
  for (const Value& object : {Value("x"), Value(12), Value::null(), Value::array({1, 2})}) {
    EXPECT_EQ(of(object)->hash(), 31 * object.hash() + ofNothing);
  }
}

TEST(ItemHash, OfAnAbsentObjectIsThatOfTheChildrenAlone) {
  const KRAVTWVItemArray children{of("a"), of("b")};
  EXPECT_EQ(of("x", children)->hash(), 31 * Value("x").hash() + of({}, children)->hash());
}

TEST(ItemHash, OfNoChildrenIsThatOfAnEmptySequence) {
  EXPECT_EQ(of({})->hash(), 961U);
  const auto absent = of({});
  absent->setChildren(nullptr);
  EXPECT_EQ(absent->hash(), 961U);
}

TEST(ItemHash, TellsMostTreesApart) {
  EXPECT_NE(of("x", {of("a"), of("b")})->hash(), of("x", {of("b"), of("a")})->hash());
  EXPECT_NE(of("x", {of("a", {of("b")})})->hash(), of("x", {of("a"), of("b")})->hash());
  EXPECT_NE(of("x", {of("a")})->hash(), of("x", {of("b")})->hash());
  EXPECT_NE(of("x", {of("a", {of("b")})})->hash(), of("x", {of("a", {of("c")})})->hash());
}

// --- any trees

/// How a random item looks, and the item made from it.
struct Sketch {
  int kind;    // 0 a plain item, 1 a group, 2 an event, 3 an on-demand event
  int object;  // 0 none
  std::vector<Sketch> children;
};

ItemPointer made(const Sketch& sketch) {
  const Value object = sketch.object == 0 ? Value() : Value(sketch.object);
  using Make = ItemPointer (*)(const Value&);
  static constexpr Make makers[] = {[](const Value& v) { return of(v); },
                                    [](const Value& v) { return of<KRAVTWVGroupVexil>(v); },
                                    [](const Value& v) { return of<KRAVTWVEventVexil>(v); },
                                    [](const Value& v) { return of<KRAVTWVOnDemandVexil>(v); }};
  const auto item = makers[sketch.kind](object);
  const auto children = std::make_shared<KRAVTWVItemArray>();
  std::ranges::transform(sketch.children, std::back_inserter(*children), made);
  item->setChildren(children);
  return item;
}

/// The rule itself, applied to the sketches of two different trees.
bool sketchEquals(const Sketch& left, const Sketch& right) {
  const bool isKind =
      left.kind == 0 || left.kind == right.kind || (left.kind == 2 && right.kind == 3);
  return isKind && left.object != 0 && left.object == right.object &&
         std::ranges::equal(left.children, right.children, sketchEquals);
}

rc::Gen<Sketch> anySketch(int depth) {
  const auto children =
      depth == 0 ? rc::gen::just(std::vector<Sketch>{})
                 : rc::gen::resize(3, rc::gen::container<std::vector<Sketch>>(
                                          rc::gen::lazy([depth] { return anySketch(depth - 1); })));
  return rc::gen::construct<Sketch>(rc::gen::weightedElement<int>({{6, 0}, {1, 1}, {1, 2}, {1, 3}}),
                                    rc::gen::weightedElement<int>({{1, 0}, {8, 1}, {4, 2}}),
                                    children);
}

PROPERTY(ItemEqualityProperty, IsTheRuleAndTheHashAgrees, ()) {
  const Sketch left = *anySketch(2);
  const bool similar = *rc::gen::arbitrary<bool>();
  Sketch right = similar ? left : *anySketch(2);
  if (similar && !right.children.empty()) {  // differs deep inside, or is a subclass there
    right.children.back().kind = *rc::gen::inRange(0, 4);
  }
  const auto a = made(left);
  const auto b = made(right);
  RC_ASSERT(a->isEqual(*b) == sketchEquals(left, right));
  RC_ASSERT(b->isEqual(*a) == sketchEquals(right, left));
  RC_ASSERT(a->isEqual(*a));
  if (a->isEqual(*b)) {
    RC_TAG("equal");
    RC_ASSERT(a->hash() == b->hash());
  }
}

}  // namespace
