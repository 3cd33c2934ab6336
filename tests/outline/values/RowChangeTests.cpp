// SPDX-License-Identifier: Apache-2.0
#include "tests/outline/UpdateTesting.h"
#include "tests/support/Lines.h"

#include <gtest/gtest.h>
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/platform/Object.h>

#include <optional>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::Lines;
using vexil::contains;
using vexil::KeyChange;
using vexil::RowAspects;
using vexil::RowChange;
using vexil::RowState;

RowState representing(const Value& object) {
  return RowState(RowState::Parts{.number = 1, .representedObject = object});
}

RowChange changeOf(const Value& before, const Value& after) {
  return {representing(before), representing(after)};
}

/// Each key with its two values, as text.
Lines keysOf(const RowChange& change) {
  Lines lines;
  for (const KeyChange& key : change.changedKeys()) {
    lines.push_back(std::string(key.key.text()) + ": " + key.oldValue.description() + " " +
                    key.newValue.description());
  }
  return lines;
}

TEST(RowChange, HasTheAspectsThatDiffer) {
  const RowState::Parts plain{.number = 1, .uniqueID = "a", .label = "A"};
  const auto aspectsWith = [&](auto&& set) {
    RowState::Parts parts = plain;
    set(parts);
    const RowAspects there = RowChange{RowState(plain), RowState(parts)}.aspects();
    EXPECT_EQ(there, (RowChange{RowState(parts), RowState(plain)}.aspects()));
    return there;
  };
  using Parts = RowState::Parts;
  EXPECT_EQ(aspectsWith([](Parts&) {}), RowAspects::none);
  EXPECT_EQ(aspectsWith([](Parts& parts) { parts.label = "B"; }), RowAspects::label);
  EXPECT_EQ(aspectsWith([](Parts& parts) { parts.label = {}; }), RowAspects::label);
  EXPECT_EQ(aspectsWith([](Parts& parts) { parts.enabled = true; }), RowAspects::enabled);
  EXPECT_EQ(aspectsWith([](Parts& parts) { parts.supportsEnabled = true; }),
            RowAspects::supportsEnabled);
  EXPECT_EQ(aspectsWith([](Parts& parts) { parts.isGroup = true; }), RowAspects::group);
  EXPECT_EQ(aspectsWith([](Parts& parts) { parts.isExpandable = true; }), RowAspects::expandable);
  EXPECT_EQ(aspectsWith([](Parts& parts) { parts.representedObject = 1; }),
            RowAspects::representedObject);
  EXPECT_EQ(aspectsWith([](Parts& parts) {
              parts.isGroup = true;
              parts.isExpandable = true;
              parts.enabled = true;
            }),
            RowAspects::group | RowAspects::expandable | RowAspects::enabled);
}

TEST(RowChange, HasNoAspectOfWhatIsEqualButOfAnotherType) {
  const RowState before(RowState::Parts{.label = 1, .representedObject = Value::array({true, 2})});
  const RowState after(RowState::Parts{.label = 1.0, .representedObject = Value::array({1, 2.0})});
  EXPECT_EQ((RowChange{before, after}.aspects()), RowAspects::none);
}

TEST(RowAspects, ContainTheirParts) {
  const RowAspects both = RowAspects::label | RowAspects::group;
  EXPECT_TRUE(contains(both, RowAspects::label));
  EXPECT_TRUE(contains(both, RowAspects::group));
  EXPECT_FALSE(contains(both, RowAspects::enabled));
  EXPECT_FALSE(contains(RowAspects::none, RowAspects::label));
}

TEST(RowChange, NamesTheKeysThatDifferInTheirOrder) {
  const RowChange change =
      changeOf(Value::dictionary({{"z", 1}, {"same", "x"}, {"gone", 2}, {"a", 3}, {"number", 1}}),
               Value::dictionary(
                   {{"new", 4}, {"number", 1.0}, {"a", 5}, {"z", 6}, {"same", "x"}, {"b", 7}}));
  EXPECT_EQ(keysOf(change),
            (Lines{"z: 1 6", "gone: 2 (null)", "a: 3 5", "new: (null) 4", "b: (null) 7"}));
}

TEST(RowChange, NamesNoKeysUnlessBothAreDictionaries) {
  const Value record = Value::dictionary({{"a", 1}});
  EXPECT_EQ(keysOf(changeOf(record, {})), Lines{});
  EXPECT_EQ(keysOf(changeOf({}, record)), Lines{});
  EXPECT_EQ(keysOf(changeOf(1, 2)), Lines{});
  EXPECT_EQ(keysOf(changeOf(record, record)), Lines{});
  EXPECT_EQ(keysOf(changeOf(Value::dictionary({}), record)), Lines{"a: (null) 1"});
}

/// Assigns to the change that asks it, which lets go of all that it holds.
class Meddler : public platform::Object {
 public:
  explicit Meddler(std::optional<RowChange>& change) : _change(change) {}
  [[nodiscard]] bool isEqual(const Object& /*other*/) const override {
    _change.reset();
    return false;
  }
  [[nodiscard]] std::size_t hash() const override { return 1; }

 private:
  std::optional<RowChange>& _change;
};

TEST(RowChange, SurvivesAnObjectThatTakesItAway) {
  std::optional<RowChange> change;
  const auto meddler = [&] { return Value(std::make_shared<Meddler>(change)); };
  const auto record = [&](const char* text) {
    return Value::dictionary({{"object", meddler()}, {"text", std::string(100, *text)}});
  };
  change = changeOf(record("a"), record("b"));
  EXPECT_EQ(change->changedKeys().size(), 2U);
  EXPECT_FALSE(change.has_value());

  const auto labelled = [&](const char* text) {
    return RowState(RowState::Parts{.label = meddler(), .representedObject = record(text)});
  };
  change = RowChange{labelled("a"), labelled("b")};
  EXPECT_EQ(change->aspects(), RowAspects::label | RowAspects::representedObject);
  EXPECT_FALSE(change.has_value());
}

}  // namespace
