// SPDX-License-Identifier: Apache-2.0
// Registrations by closure, which end with their handles.
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "Shelf.h"
#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::ChangeRecord;
using platform::InvalidArgument;
using platform::Key;
using platform::Observation;
using platform::observe;
using platform::ObservingOptions;
using platform::Value;
using test::Lines;
using test::Shelf;

static_assert(!std::is_copy_constructible_v<Observation>);
static_assert(!std::is_copy_assignable_v<Observation>);
static_assert(std::is_nothrow_default_constructible_v<Observation>);
static_assert(std::is_nothrow_move_constructible_v<Observation>);
static_assert(std::is_nothrow_move_assignable_v<Observation>);
static_assert(std::is_nothrow_destructible_v<Observation>);

class ObservationHandle : public testing::Test {
 protected:
  std::function<void(const ChangeRecord&)> noting(const std::string& name) {
    return [this, name](const ChangeRecord& change) {
      notices.push_back(name + ": " + test::describe("it", change));
    };
  }
  Observation labelObservation(const std::string& name) {
    return observe(shelf, "label", ObservingOptions::newValue, noting(name));
  }

  Lines notices;
  std::shared_ptr<Shelf> shelf = Shelf::make();
};

TEST_F(ObservationHandle, CallsItsClosureForEveryChange) {
  const Observation observation =
      observe(shelf, "label", ObservingOptions::both, noting("closure"));
  shelf->setLabel("a");
  shelf->insertBook(0, "other key");
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"closure: it setting old=<null> new=\"a\"",
                            "closure: it setting old=\"a\" new=\"b\""}));
}

TEST_F(ObservationHandle, EndsWhenItGoes) {
  {
    const Observation observation = labelObservation("closure");
    shelf->setLabel("a");
  }
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"closure: it setting new=\"a\""}));
}

TEST_F(ObservationHandle, CanBeEndedEarlyAndMoreThanOnce) {
  Observation observation = labelObservation("closure");
  observation.end();
  observation.end();
  shelf->setLabel("a");
  EXPECT_EQ(notices, Lines());
  Observation none;
  none.end();
}

TEST_F(ObservationHandle, GoesOnWhereItIsMovedTo) {
  Observation observation = labelObservation("closure");
  Observation moved(std::move(observation));
  observation.end();  // NOLINT(bugprone-use-after-move): it has nothing to end
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"closure: it setting new=\"a\""}));
  moved.end();
  shelf->setLabel("b");
  EXPECT_EQ(notices.size(), 1U);
}

TEST_F(ObservationHandle, EndsWhenAnotherTakesItsPlace) {
  Observation observation = labelObservation("first");
  observation = labelObservation("second");
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"second: it setting new=\"a\""}));
  observation = Observation();
  shelf->setLabel("b");
  EXPECT_EQ(notices.size(), 1U);
}

TEST_F(ObservationHandle, SurvivesAMoveOntoItself) {
  Observation observation = labelObservation("closure");
  Observation& same = observation;
  observation = std::move(same);
  shelf->setLabel("a");
  EXPECT_EQ(notices.size(), 1U);
}

TEST_F(ObservationHandle, KeepsTheOrderOfRegistration) {
  Observation second = labelObservation("first made");
  const Observation first = labelObservation("second made");
  Observation moved = std::move(second);
  shelf->setLabel("a");
  EXPECT_EQ(notices,
            (Lines{"first made: it setting new=\"a\"", "second made: it setting new=\"a\""}));
}

TEST_F(ObservationHandle, MayBeEndedByItsOwnClosure) {
  std::optional<Observation> observation;
  int calls = 0;
  const auto witness = std::make_shared<int>(7);
  observation = observe(shelf, "label", ObservingOptions::none,
                        [&observation, &calls, witness](const ChangeRecord&) {
                          observation.reset();
                          calls += *witness;  // what the closure holds is still there
                        });
  shelf->setLabel("a");
  shelf->setLabel("b");
  EXPECT_EQ(calls, 7);
  EXPECT_EQ(witness.use_count(), 1) << "the closure is gone";
}

TEST_F(ObservationHandle, EndedByAnotherClosureIsNotCalledAgain) {
  Observation second;
  const Observation first = observe(shelf, "label", ObservingOptions::none,
                                    [&second](const ChangeRecord&) { second.end(); });
  second = labelObservation("second");
  shelf->setLabel("a");
  EXPECT_EQ(notices, Lines());
}

TEST_F(ObservationHandle, MayOutliveTheObject) {
  Observation observation = labelObservation("closure");
  const std::weak_ptr<Shelf> watch = shelf;
  shelf.reset();
  EXPECT_TRUE(watch.expired()) << "the handle does not keep it";
  observation.end();
  Observation other = Observation();
  other = std::move(observation);
}

TEST_F(ObservationHandle, KeepsItsClosureUntilItEnds) {
  auto witness = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = witness;
  Observation observation = observe(shelf, "label", ObservingOptions::none,
                                    [kept = std::move(witness)](const ChangeRecord&) {});
  EXPECT_FALSE(watch.expired());
  observation.end();
  EXPECT_TRUE(watch.expired());
}

TEST_F(ObservationHandle, LetsAnExceptionOfItsClosureThrough) {
  const Observation observation =
      observe(shelf, "label", ObservingOptions::none,
              [](const ChangeRecord&) { throw std::runtime_error("closure"); });
  EXPECT_THROW(shelf->setLabel("a"), std::runtime_error);
  EXPECT_THROW(shelf->setLabel("b"), std::runtime_error) << "the registration stays";
}

TEST_F(ObservationHandle, ObservesIndexedChangesAndDependentKeys) {
  const Observation books = observe(shelf, "books", ObservingOptions::both, noting("books"));
  const Observation empty = observe(shelf, "isEmpty", ObservingOptions::newValue, noting("empty"));
  shelf->insertBook(0, "a");
  EXPECT_EQ(notices, (Lines{"books: it insertion {0} new=[\"a\"]", "empty: it setting new=false"}));
}

TEST_F(ObservationHandle, NeedsAnObjectAndAClosure) {
  EXPECT_THROW((void)observe(nullptr, "label", ObservingOptions::none, noting("none")),
               InvalidArgument);
  EXPECT_THROW((void)observe(shelf, "label", ObservingOptions::none, nullptr), InvalidArgument);
  shelf->setLabel("a");
}

TEST_F(ObservationHandle, MayStandInTheOwnerThatItsClosureKeeps) {
  // The owner holds the handle, the handle holds the closure, the closure holds the owner. `end`
  // breaks this circle.
  struct Owner {
    Observation observation;
    int calls = 0;
  };
  auto owner = std::make_shared<Owner>();
  const std::weak_ptr<Owner> watch = owner;
  owner->observation = observe(shelf, "label", ObservingOptions::none,
                               [owner](const ChangeRecord&) { ++owner->calls; });
  shelf->setLabel("a");
  EXPECT_EQ(owner->calls, 1);
  Owner* const raw = owner.get();
  owner.reset();
  EXPECT_FALSE(watch.expired());
  raw->observation.end();
  EXPECT_TRUE(watch.expired());
}

TEST_F(ObservationHandle, MayBeAssignedByItsOwnClosure) {
  Observation observation;
  observation =
      observe(shelf, "label", ObservingOptions::newValue, [&](const ChangeRecord& change) {
        observation = labelObservation("second");
        notices.push_back("first: " + test::describe("it", change));
      });
  shelf->setLabel("a");
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"first: it setting new=\"a\"", "second: it setting new=\"b\""}));
}

TEST_F(ObservationHandle, MayBeAssignedWhereOnlyItsClosureKeepsIt) {
  struct Owner {
    Observation observation;
  };
  for (const bool isRunning : {true, false}) {
    auto owner = std::make_shared<Owner>();
    Owner* const raw = owner.get();
    const std::weak_ptr<Owner> watch = owner;
    const auto assign = [raw, this] { raw->observation = labelObservation("second"); };
    owner->observation = observe(shelf, "label", ObservingOptions::newValue,
                                 [owner, &assign](const ChangeRecord&) { assign(); });
    owner.reset();
    if (isRunning) {
      shelf->setLabel("a");
    } else {
      assign();
    }
    EXPECT_TRUE(watch.expired());
    shelf->setLabel("b");
    EXPECT_EQ(notices, Lines()) << "its owner went, and it with it";
  }
}

}  // namespace
