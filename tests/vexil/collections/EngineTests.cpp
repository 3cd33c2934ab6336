// SPDX-License-Identifier: Apache-2.0
// What the engine is doing, in three groups.
#include "CollectionTesting.h"

#include <vexil/platform/Bundle.h>
#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::Value;
using test::briefly;
using test::eventRecord;
using test::ItemPointer;
using test::Lines;
using test::outline;
using test::records;
using test::TreeRecorder;

using Engine = KRAVTWVEngineVexil;

static_assert(std::is_base_of_v<KRAVTWVItemsVexil, Engine>);

// A language that nobody speaks, for texts that change.
constexpr std::array tables = std::to_array<platform::EmbeddedStrings>({
    {"qaa", R"("engine.scheduler.active" = "Qa"; "engine.scheduler.pending" = "Qp";)"},
});
const platform::BundleRegistration registration(&tables, tables);

/// An active event and a queued trigger, each of an event with a name.
Value activeNamed(const char* uniqueID, const char* name, const Value& activity = {}) {
  return test::activeRecord(uniqueID, eventRecord("e", name), activity);
}
Value queuedNamed(const char* uniqueID, const char* name) {
  return test::queuedRecord(uniqueID, eventRecord("e", name));
}

/// An input of the engine. All three follow the same rules.
struct Input {
  const char* key;   // under which it is set
  const char* held;  // under which it is held
  std::size_t position;
  void (Engine::*set)(const Value&);
  Value (Engine::*get)() const;
  void (Engine::*setHeld)(Value);
  Value (*record)(const char* uniqueID, const char* name);
};

const std::array inputs = std::to_array<Input>({
    {"active", "activeEvents", 0, &Engine::setActive, &Engine::activeEvents,
     &Engine::setActiveEvents,
     [](const char* uniqueID, const char* name) { return activeNamed(uniqueID, name); }},
    {"pending", "pendingTriggers", 2, &Engine::setPending, &Engine::pendingTriggers,
     &Engine::setPendingTriggers, queuedNamed},
    {"available", "onDemandAvailable", 1, &Engine::setAvailable, &Engine::onDemandAvailable,
     &Engine::setOnDemandAvailable,
     [](const char* uniqueID, const char* name) { return eventRecord(uniqueID, name); }},
});

//     root
//     ├── scheduler.active      one item an active event
//     ├── ondemand.available    one item an event
//     └── scheduler.pending     one item a queued trigger
struct EngineState : ::testing::Test {
  EngineState() {
    platform::setPreferredLanguage("en");
    engine = std::make_shared<Engine>();
    root = engine->root();
    for (const Input& input : inputs) {
      recorder->watch(engine, input.key);
      recorder->watch(engine, input.held);
    }
    recorder->watch(engine, "root");
    recorder->watch(root);
    for (const auto& group : *root->children()) {
      recorder->watch(group);
    }
  }
  ~EngineState() override { platform::setPreferredLanguage({}); }

  Lines notices() { return briefly(recorder->take()); }

  /// The identifiers in the three groups: "[a1] [] [t1, t2]".
  [[nodiscard]] std::string groups() const {
    std::string text;
    for (const auto& group : *root->children()) {
      text += (text.empty() ? "" : " ") + test::identifiers(*group->children());
    }
    return text;
  }

  void fill() {
    engine->setActive(records({activeNamed("a1", "One"), activeNamed("a2", "Two")}));
    engine->setAvailable(records({eventRecord("d1", "Three")}));
    engine->setPending(records({queuedNamed("t1", "Four"), queuedNamed("t2", "Five")}));
    (void)recorder->take();
  }

  std::shared_ptr<Engine> engine;
  ItemPointer root;
  std::shared_ptr<TreeRecorder> recorder = TreeRecorder::make();
};

TEST_F(EngineState, BeginsWithThreeEmptyGroupsInTheirOrder) {
  ASSERT_EQ(test::identifiers(*root->children()),
            "[scheduler.active, ondemand.available, scheduler.pending]");
  for (const auto& group : *root->children()) {
    EXPECT_NE(std::dynamic_pointer_cast<KRAVTWVGroupVexil>(group), nullptr);
    EXPECT_TRUE(group->children()->empty());
    EXPECT_EQ(group->representedObject(), group->uniqueID());
  }
  EXPECT_EQ(root->label(), Value(""));
  EXPECT_EQ(root->uniqueID(), Value("root"));
}

TEST_F(EngineState, BeginsWithEmptyArrays) {
  for (const Input& input : inputs) {
    const Value held = (*engine.*input.get)();
    ASSERT_TRUE(held.isArray()) << input.held;
    EXPECT_TRUE(held.elements().empty()) << input.held;
  }
}

TEST_F(EngineState, PublishesItsKeys) {
  EXPECT_EQ(KRAVTWVEngineVexilKeyPathActive, "active");
  EXPECT_EQ(KRAVTWVEngineVexilKeyPathPending, "pending");
  EXPECT_EQ(KRAVTWVEngineVexilKeyPathAvailable, "available");
}

TEST_F(EngineState, LabelsTheGroupsInTheUsersLanguage) {
  EXPECT_EQ(root->childAtIndex(0)->label(), Value("Running"));
  EXPECT_EQ(root->childAtIndex(1)->label(), Value("On Demand"));
  EXPECT_EQ(root->childAtIndex(2)->label(), Value("Pending"));
}

TEST_F(EngineState, LooksItsLabelsUpAtEveryRebuild) {
  platform::setPreferredLanguage("qaa");
  engine->updateItemsForEngine();
  EXPECT_EQ(root->childAtIndex(0)->label(), Value("Running")) << "a group that stays keeps its own";
  root->setChildren(nullptr);
  engine->updateItemsForEngine();
  EXPECT_EQ(outline(root),
            "root=[scheduler.active=Qa ondemand.available=On Demand scheduler.pending=Qp]");
}

TEST_F(EngineState, FillsEachGroupWithItemsOfItsKindInTheGivenOrder) {
  engine->setActive(records({activeNamed("a2", "B", "step"), activeNamed("a1", "A")}));
  engine->setAvailable(records({eventRecord("d2", "B", true), eventRecord("d1", "A")}));
  engine->setPending(records({queuedNamed("t2", "B"), queuedNamed("t1", "A")}));
  EXPECT_EQ(outline(root),
            "root=[scheduler.active=Running[a2=B a1=A] ondemand.available=On Demand[d2=B d1=A] "
            "scheduler.pending=Pending[t2=B t1=A]]");
  const auto first = [&](std::size_t group) { return root->childAtIndex(group)->childAtIndex(0); };
  const auto active = std::dynamic_pointer_cast<KRAVTWVActiveEventVexil>(first(0));
  ASSERT_NE(active, nullptr);
  EXPECT_EQ(active->activity(), Value("step"));
  EXPECT_NE(std::dynamic_pointer_cast<KRAVTWVOnDemandVexil>(first(1)), nullptr);
  EXPECT_FALSE(first(1)->supportsEnabled()) << "no plain event";
  EXPECT_NE(std::dynamic_pointer_cast<KRAVTWVQueuedTriggerVexil>(first(2)), nullptr);
}

TEST_F(EngineState, KeepsTheVeryListsUnsorted) {
  for (const Input& input : inputs) {
    const Value list = records({input.record("2", "B"), input.record("1", "A")});
    (*engine.*input.set)(list);
    EXPECT_TRUE((*engine.*input.get)().sharesStorageWith(list)) << input.held;
  }
}

TEST_F(EngineState, ADifferentListIsStoredAndAnnouncedAndThenShown) {
  const std::string ids[] = {"scheduler.active", "ondemand.available", "scheduler.pending"};
  for (const Input& input : inputs) {
    std::string seen;
    recorder->then = [&] {
      seen += std::to_string((*engine.*input.get)().elements().size()) + groups() + "; ";
    };
    const std::string before = groups();
    (*engine.*input.set)(records({input.record("2", "B"), input.record("1", "A")}));
    const std::string& id = ids[input.position];
    const std::string position = std::to_string(input.position);
    EXPECT_EQ(notices(), (Lines{input.held, id + " children insertion {0-1} new=[2, 1]",
                                "root children replacement {" + position + "} old=[" + id +
                                    "] new=[" + id + "]"}));
    EXPECT_EQ(seen, "2" + before + "; 2" + groups() + "; 2" + groups() + "; ");
  }
  EXPECT_EQ(groups(), "[2, 1] [2, 1] [2, 1]");
}

TEST_F(EngineState, AnEqualListAnnouncesNothingAndLeavesTheTree) {
  fill();
  const auto shown = root->recursiveChildren();
  engine->setActive(records({activeNamed("a1", "One"), activeNamed("a2", "Two")}));
  engine->setAvailable(records({eventRecord("d1", "Three")}));
  engine->setPending(records({queuedNamed("t1", "Four"), queuedNamed("t2", "Five")}));
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(root->recursiveChildren(), shown);
}

TEST_F(EngineState, AnEqualListDoesNotRebuildWhatAHostHasChanged) {
  fill();
  root->setChildren(nullptr);
  engine->setPending(engine->pendingTriggers());
  EXPECT_EQ(root->children(), nullptr);
}

TEST_F(EngineState, TheSameRecordsInAnotherOrderAreAnotherList) {
  fill();
  engine->setPending(records({queuedNamed("t2", "Five"), queuedNamed("t1", "Four")}));
  EXPECT_EQ(groups(), "[a1, a2] [d1] [t2, t1]");
}

TEST_F(EngineState, AChangeKeepsTheItemsOfTheOtherGroupsAndThoseThatStay) {
  fill();
  const auto before = root->recursiveChildren();  // a1 a2 active d1 ondemand t1 t2 pending
  engine->setActive(records({activeNamed("a1", "One", "step 2"), activeNamed("a3", "New")}));
  EXPECT_EQ(notices(),
            (Lines{"activeEvents", "scheduler.active children removal {1} old=[a2]",
                   "scheduler.active children insertion {1} new=[a3]",
                   "scheduler.active children replacement {0} old=[a1] new=[a1]",
                   "root children replacement {0} old=[scheduler.active] new=[scheduler.active]"}));
  auto after = root->recursiveChildren();
  ASSERT_EQ(after.size(), before.size());
  after[1] = before[1];  // the one that was exchanged
  EXPECT_EQ(after, before);
}

TEST_F(EngineState, EmptiedKeepsTheThreeGroups) {
  fill();
  for (const Input& input : inputs) {
    (*engine.*input.set)(records({}));
  }
  EXPECT_EQ(groups(), "[] [] []");
  EXPECT_EQ(outline(root),
            "root=[scheduler.active=Running ondemand.available=On Demand "
            "scheduler.pending=Pending]");
}

TEST_F(EngineState, ShowsEqualRecordsOnce) {
  engine->setPending(
      records({queuedNamed("t1", "A"), queuedNamed("t2", "B"), queuedNamed("t1", "A")}));
  EXPECT_EQ(groups(), "[] [] [t2, t1]");
  EXPECT_EQ(engine->pendingTriggers().elements().size(), 3U);
}

TEST_F(EngineState, AnAbsentListIsStoredAndEmptiesItsGroup) {
  fill();
  const std::string shown[] = {"[] [d1] [t1, t2]", "[] [d1] []", "[] [] []"};
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    (*engine.*inputs[i].set)({});
    EXPECT_TRUE((*engine.*inputs[i].get)().isAbsent());
    EXPECT_EQ(groups(), shown[i]);
  }
}

TEST_F(EngineState, AnAbsentListThatIsHeldNeverCountsAsEqual) {
  for (const Input& input : inputs) {
    (*engine.*input.set)({});
    (void)recorder->take();
    // Each call is a rebuild: the groups are back.
    for (const Value& list : {Value(), records({})}) {
      root->setChildren(nullptr);
      (void)recorder->take();
      (*engine.*input.set)(list);
      EXPECT_EQ(notices(), (Lines{input.held,
                                  "root children insertion {0-2} new=[scheduler.active, "
                                  "ondemand.available, scheduler.pending]"}));
    }
  }
}

TEST_F(EngineState, SettingAHeldListShowsWithTheNextRebuild) {
  fill();
  for (const Input& input : inputs) {
    const std::string before = groups();
    (*engine.*input.setHeld)(records({input.record("n", "New")}));
    EXPECT_EQ(notices(), Lines{input.held});
    EXPECT_EQ(groups(), before);
    (*engine.*input.set)(records({input.record("n", "New")}));
    EXPECT_EQ(recorder->take(), Lines{}) << "it is what is compared";
  }
  engine->updateItemsForEngine();
  EXPECT_EQ(groups(), "[n] [n] [n]");
}

TEST_F(EngineState, AChangeOfOneListShowsWhatAllThreeHold) {
  engine->setActiveEvents(records({activeNamed("a1", "One")}));
  engine->setOnDemandAvailable(records({eventRecord("d1", "Two")}));
  engine->setPending(records({queuedNamed("t1", "Three")}));
  EXPECT_EQ(groups(), "[a1] [d1] [t1]");
}

TEST_F(EngineState, ARebuildOfTheSameAnnouncesNothing) {
  fill();
  engine->updateItemsForEngine();
  EXPECT_EQ(recorder->take(), Lines{});
}

TEST_F(EngineState, ARebuildBringsBackWhatAHostTookOut) {
  fill();
  root->removeChildrenAtIndexes({0, 2});
  engine->updateItemsForEngine();
  EXPECT_EQ(groups(), "[a1, a2] [d1] [t1, t2]");
  EXPECT_EQ(engine->root(), root);
}

TEST_F(EngineState, ItsItemsHaveTheirGroupForAParent) {
  root->setChildren(nullptr);
  engine->setActive(records({activeNamed("a1", "One")}));
  const auto group = root->childAtIndex(0);
  EXPECT_EQ(group->childAtIndex(0)->parent(), group);
  EXPECT_EQ(group->parent(), nullptr);
}

TEST_F(EngineState, TakesItsInputsByKeyAndDoesNotReadThemBack) {
  for (const Input& input : inputs) {
    const Value list = records({input.record("1", "A")});
    engine->setValueForKey(list, input.key);
    EXPECT_EQ(engine->valueForKey(input.held), list);
    EXPECT_THROW((void)engine->valueForKey(input.key), platform::UndefinedKey);
  }
  EXPECT_EQ(groups(), "[1] [1] [1]");
  EXPECT_EQ(engine->valueForKey("root").object(), root);
  const auto all = recorder->take();
  for (const char* input : {" active ", " pending ", " available "}) {
    EXPECT_FALSE(test::anyContains(all, input)) << "inputs are never announced";
  }
}

TEST_F(EngineState, ItsHeldListsAreSetByKeyWithoutARebuild) {
  for (const Input& input : inputs) {
    engine->setValueForKey(records({input.record("1", "A")}), input.held);
    EXPECT_EQ((*engine.*input.get)(), records({input.record("1", "A")}));
  }
  EXPECT_EQ(groups(), "[] [] []");
}

TEST_F(EngineState, TakesArraysAndAbsentListsAlone) {
  fill();
  for (const Input& input : inputs) {
    const Value held = (*engine.*input.get)();
    for (const Value& other : {Value("text"), Value::null(), input.record("1", "A"), Value(0)}) {
      EXPECT_THROW((*engine.*input.set)(other), InvalidArgument);
      EXPECT_THROW(engine->setValueForKey(other, input.key), InvalidArgument);
    }
    EXPECT_TRUE((*engine.*input.get)().sharesStorageWith(held));
  }
  EXPECT_EQ(recorder->take(), Lines{});
}

TEST_F(EngineState, ShowsNothingOfAHeldValueThatIsNoList) {
  fill();
  engine->setActiveEvents("text");
  engine->setPending(records({}));
  EXPECT_EQ(groups(), "[] [d1] []");
}

TEST_F(EngineState, ARecordWithoutIdentifierIsStoredAndCannotBeMerged) {
  fill();
  EXPECT_THROW(engine->setPending(records({Value("no record")})), InvalidArgument);
  EXPECT_EQ(engine->pendingTriggers(), records({Value("no record")}));
  EXPECT_EQ(groups(), "[a1, a2] [d1] [t1, t2]");
  engine->setPending(records({queuedNamed("t2", "Five")}));
  EXPECT_EQ(groups(), "[a1, a2] [d1] [t2]") << "and goes on with better ones";
}

TEST_F(EngineState, WithoutARootStoresAllTheSame) {
  engine->setRoot(nullptr);
  engine->setActive(records({activeNamed("a1", "One")}));
  EXPECT_EQ(groups(), "[] [] []");
  const auto other = test::plainItem("other");
  engine->setRoot(other);
  engine->updateItemsForEngine();
  EXPECT_EQ(other->childAtIndex(0)->children()->size(), 1U);
}

TEST_F(EngineState, SetAgainByAnObserverShowsWhatItHolds) {
  recorder->then = [&] {
    recorder->then = nullptr;
    engine->setActive(records({activeNamed("a2", "Two")}));
  };
  engine->setActive(records({activeNamed("a1", "One")}));
  EXPECT_EQ(groups(), "[a2] [] []");
  EXPECT_EQ(engine->activeEvents(), records({activeNamed("a2", "Two")}));
}

TEST_F(EngineState, ARaisingObserverOfAListKeepsTheTree) {
  fill();
  recorder->then = [] { throw std::runtime_error("refused"); };
  EXPECT_THROW(engine->setActive(records({})), std::runtime_error);
  recorder->then = nullptr;
  EXPECT_EQ(engine->activeEvents(), records({}));
  EXPECT_EQ(groups(), "[a1, a2] [d1] [t1, t2]");
  engine->setActive(records({}));
  EXPECT_EQ(groups(), "[a1, a2] [d1] [t1, t2]") << "nothing new to accept";
  engine->updateItemsForEngine();
  EXPECT_EQ(groups(), "[] [d1] [t1, t2]");
}

}  // namespace
