// SPDX-License-Identifier: Apache-2.0
#include "RowSetTesting.h"
#include "tests/outline/UpdateTesting.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/Property.h"
#include "tests/support/SmallStack.h"

#include <gtest/gtest.h>
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/RowSet.h>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::entry;
using test::moveToOther;
using test::row;
using test::rows;
using test::setOf;
using test::setWith;
using vexil::OutlineStep;
using vexil::OutlineUpdate;
using vexil::RowSet;

Value followed(std::vector<Value> entries, std::vector<OutlineStep> steps) {
  RowSet set = setWith(std::move(entries));
  set.follow(OutlineUpdate(std::move(steps), 0));
  const Value list = set.propertyList();
  EXPECT_EQ(set.count(), setOf(list).count());
  return list;
}

TEST(RowSetFollow, ARowToItsOtherParentWithAllBelowIt) {
  EXPECT_EQ(followed({entry("a", true, {entry("b", true, {entry("c", true)}), entry("d", true)})},
                     {moveToOther({row(1, "a")}, 0, {row(9, "z")}, 0, {row(2, "b")})}),
            rows({entry("a", true, {entry("d", true)}),
                  entry("z", false, {entry("b", true, {entry("c", true)})})}));
}

TEST(RowSetFollow, RowsBelowOneThatIsNotInTheSet) {
  EXPECT_EQ(followed({entry("a", false, {entry("b", false, {entry("c", true)})})},
                     {moveToOther({row(1, "a")}, 0, {}, 0, {row(2, "b")})}),
            rows({entry("b", false, {entry("c", true)})}));
}

TEST(RowSetFollow, ARowFromTheTopDownManyLevels) {
  EXPECT_EQ(
      followed(
          {entry("a", true), entry("b", true)},
          {moveToOther({}, 0, {row(7, "x"), row(8, "y", {}, 2), row(9, "z")}, 0, {row(1, "a")})}),
      rows({entry("b", true),
            entry("x", false, {entry("y", false, {entry("z", false, {entry("a", true)})}, 2)})}));
}

TEST(RowSetFollow, RowsThatGetOtherOccurrences) {
  EXPECT_EQ(followed({entry("a", false,
                            {entry("x", true), entry("x", true, {entry("c", true)}, 1),
                             entry("x", true, {}, 2)})},
                     {moveToOther({row(1, "a")}, 1, {row(9, "z")}, 0,
                                  {row(3, "x", {}, 1), row(4, "x", {}, 2)}, {5, 0})}),
            rows({entry("a", false, {entry("x", true)}),
                  entry("z", false, {entry("x", true), entry("x", true, {entry("c", true)}, 5)})}));
}

TEST(RowSetFollow, ARowToWhereAnotherOneHasNotLeftYet) {
  EXPECT_EQ(followed({entry("p", false, {entry("x", true)})},
                     {moveToOther({row(1, "p")}, 0, {row(2, "q")}, 0, {row(3, "x")}),
                      moveToOther({row(2, "q")}, 0, {row(5, "r")}, 0, {row(4, "x")})}),
            rows({entry("q", false, {entry("x", true)})}));
}

TEST(RowSetFollow, ARowBelowAnotherThatMovesBeforeOrAfterIt) {
  const OutlineStep outer = moveToOther({row(1, "p")}, 0, {row(2, "q")}, 0, {row(3, "m")});
  const auto inner = [](const char* parent, vexil::RowNumber number) {
    return moveToOther({row(number, parent), row(3, "m")}, 0, {}, 0, {row(4, "x")});
  };
  const auto entries = [] {
    return std::vector{entry("p", false, {entry("m", true, {entry("x", true), entry("y", true)})})};
  };
  const Value expected =
      rows({entry("q", false, {entry("m", true, {entry("y", true)})}), entry("x", true)});
  EXPECT_EQ(followed(entries(), {outer, inner("q", 2)}), expected);
  EXPECT_EQ(followed(entries(), {inner("p", 1), outer}), expected);
}

TEST(RowSetFollow, LosesNoRowWhenMemoryRunsOut) {
  RowSet set;
  const auto requireBoth = [&] { EXPECT_EQ(setOf(set.propertyList()).count(), 2U); };
  bool isFilled = false;
  const std::size_t places = test::failEachAllocation(
      [&] {
        if (isFilled) {
          requireBoth();
        }
        set = setWith({entry("p", false, {entry("x", true), entry("y", true)})});
        isFilled = true;
      },
      [&] {
        set.follow(OutlineUpdate({moveToOther({row(1, "p")}, 0, {row(2, "q")}, 0, {row(3, "x")}),
                                  moveToOther({row(1, "p")}, 0, {row(5, "r")}, 0, {row(4, "y")})},
                                 0));
      });
  EXPECT_GT(places, 10U);
  requireBoth();
}

TEST(RowSetFollow, StepsOneAfterTheOther) {
  EXPECT_EQ(followed({entry("a", false, {entry("b", true)})},
                     {moveToOther({row(1, "a")}, 0, {row(3, "c")}, 0, {row(2, "b")}),
                      moveToOther({}, 0, {row(4, "d")}, 0, {row(3, "c")}),
                      moveToOther({row(4, "d"), row(3, "c")}, 0, {}, 0, {row(2, "b")}, {1})}),
            rows({entry("b", true, {}, 1)}));
}

TEST(RowSetFollow, UnitesWhatMeets) {
  EXPECT_EQ(
      followed(
          {entry("a", false,
                 {entry("b", true, {entry("c", true), entry("d", false, {entry("e", true)})})}),
           entry("z", true,
                 {entry("b", false, {entry("d", true, {entry("f", true)}), entry("g", true)})})},
          {moveToOther({row(1, "a")}, 0, {row(9, "z")}, 0, {row(2, "b")})}),
      rows({entry("z", true,
                  {entry("b", true,
                         {entry("c", true), entry("d", true, {entry("e", true), entry("f", true)}),
                          entry("g", true)})})}));
}

TEST(RowSetFollow, LeavesOtherStepsAndRowsAlone) {
  const std::vector<Value> entries = {entry("a", true, {entry("b", true)}), entry("c", true)};
  const auto isLeftAloneBy = [&](const OutlineStep& step) {
    return followed(entries, {step}) == rows(entries);
  };
  EXPECT_TRUE(isLeftAloneBy(test::removal(0, 0, {row(1, "a")})));
  EXPECT_TRUE(isLeftAloneBy(test::insertion(0, 0, {row(9, "a")})));
  EXPECT_TRUE(isLeftAloneBy(test::moveWithin(0, 0, 1, {row(1, "a")})));
  EXPECT_TRUE(isLeftAloneBy(test::change(0, 0, {{row(1, "a"), row(1, "a", "A")}})));
  EXPECT_TRUE(isLeftAloneBy(moveToOther({}, 0, {row(9, "z")}, 0, {row(1, "other")})));
  EXPECT_TRUE(isLeftAloneBy(moveToOther({}, 0, {row(9, "z")}, 0, {row(1, "a", {}, 1)})));
  EXPECT_TRUE(isLeftAloneBy(moveToOther({row(8, "y")}, 0, {row(9, "z")}, 0, {row(1, "a")})));
}

TEST(RowSetFollow, DoesNotFollowRowsWithoutIdentifiers) {
  const std::vector<Value> entries = {entry("a", true, {entry("b", true)})};
  const auto isLeftAloneBy = [&](const OutlineStep& step) {
    return followed(entries, {step}) == rows(entries);
  };
  EXPECT_TRUE(isLeftAloneBy(moveToOther({}, 0, {row(9, "z")}, 0, {row(1, {})})));
  EXPECT_TRUE(isLeftAloneBy(moveToOther({row(1, "a")}, 0, {row(9, {})}, 0, {row(2, "b")})));
  EXPECT_TRUE(isLeftAloneBy(moveToOther({row(1, "a"), row(9, {})}, 0, {}, 0, {row(2, "b")})));
}

// Such steps come from no outline, but an update may have been read from anywhere.
TEST(RowSetFollow, SurvivesStepsThatContradictThemselves) {
  const auto entries = [] {
    return std::vector<Value>{entry("a", true, {entry("a", true, {entry("a", true)})})};
  };
  EXPECT_EQ(followed(entries(), {moveToOther({}, 0, {row(1, "a")}, 0, {row(1, "a")})}),
            rows(entries()));
  EXPECT_EQ(followed(entries(), {moveToOther({}, 0, {row(1, "a"), row(2, "b")}, 0, {row(1, "a")})}),
            rows(entries()));
  OutlineStep step = moveToOther({row(1, "a")}, 0, {row(2, "b")}, 0, {row(3, "a")});
  step.newOccurrences.clear();
  EXPECT_EQ(followed(entries(), {step}), rows(entries()));
  step.newOccurrences = {0, 0};
  EXPECT_EQ(followed(entries(), {step}), rows(entries()));
  // Up into what holds it.
  EXPECT_EQ(followed(entries(), {moveToOther({row(1, "a")}, 0, {}, 0, {row(2, "a")})}),
            rows({entry("a", true, {entry("a", true)})}));
}

TEST(RowSetFollow, DeepRowsWithoutRecursion) {
  test::runOnSmallStack([] {
    Value list = entry("leaf", true);
    std::vector<vexil::RowState> above = {row(1, "a")};
    for (std::size_t i = 0; i < test::deepNesting; ++i) {
      list = entry("n", false, {std::move(list)});
      above.push_back(row(2 + i, "n"));
    }
    RowSet set = setWith({entry("a", false, {list})});
    set.follow(OutlineUpdate({moveToOther(above, 0, {}, 0, {row(1'000'000, "leaf")})}, 0));
    EXPECT_EQ(set.propertyList(), rows({entry("leaf", true)}));

    set = setWith({entry("a", false, {list}), entry("b", false, {list})});
    set.follow(OutlineUpdate({moveToOther({row(1, "a")}, 0, {row(9, "b")}, 0, {row(2, "n")})}, 0));
    EXPECT_EQ(set.count(), 1U);
    EXPECT_EQ(set.propertyList(), rows({entry("b", false, {list})}));
  });
}

// --- any moves

using Path = std::vector<int>;
using Paths = std::set<Path>;

/// The property list of the set of some paths, each entry written apart.
RowSet setOfPaths(const Paths& paths) {
  std::vector<Value> entries;
  for (const Path& path : paths) {
    Value value = entry(path.back(), true);
    for (std::size_t i = path.size() - 1; i > 0; --i) {
      value = entry(path[i - 1], false, {value});
    }
    entries.push_back(value);
  }
  return setWith(std::move(entries));
}

void addPaths(const Value& entries, const Path& above, Paths& paths) {
  for (const Value& entry : entries.elements()) {
    Path path = above;
    path.push_back(static_cast<int>(*entry["id"].integer()));
    if (entry["in"].booleanReading()) {
      paths.insert(path);
    }
    addPaths(entry["below"], path, paths);
  }
}

Path anyPath(int shortest) {
  const auto length = *rc::gen::inRange(shortest, 4);
  return *rc::gen::container<Path>(static_cast<std::size_t>(length), rc::gen::inRange(0, 3));
}

std::vector<vexil::RowState> statesOf(const Path& path) {
  std::vector<vexil::RowState> states;
  for (const int uniqueID : path) {
    states.push_back(row(states.size() + 1, uniqueID));
  }
  return states;
}

bool begins(const Path& path, const Path& beginning) {
  return path.size() >= beginning.size() &&
         std::equal(beginning.begin(), beginning.end(), path.begin());
}

PROPERTY(RowSetFollowProperty, AnyMovesAsPathsDo, ()) {
  Paths paths;
  for (int i = *rc::gen::inRange(0, 12); i > 0; --i) {
    paths.insert(anyPath(1));
  }
  RowSet set = setOfPaths(paths);
  for (int i = *rc::gen::inRange(1, 5); i > 0; --i) {
    const Path from = anyPath(1);
    const Path newAbove = anyPath(0);
    const Path above(from.begin(), from.end() - 1);
    Path to = newAbove;
    to.push_back(from.back());
    if (above == newAbove || begins(to, from) || begins(from, to)) {
      continue;  // no outline moves rows into themselves, or into the place of a row above
    }
    OutlineStep step =
        moveToOther(statesOf(above), 0, statesOf(newAbove), 0, {row(100, from.back())});
    step.newParent = 1000;  // another one than the parent before
    set.follow(OutlineUpdate({step}, 0));
    Paths expected;
    for (Path path : paths) {
      if (begins(path, from)) {
        Path moved = to;
        moved.insert(moved.end(), path.begin() + static_cast<std::ptrdiff_t>(from.size()),
                     path.end());
        path = moved;
      }
      expected.insert(path);
    }
    paths = expected;
    Paths there;
    addPaths(set.propertyList()["rows"], {}, there);
    RC_ASSERT(there == paths);
    RC_ASSERT(set.count() == paths.size());
  }
}

}  // namespace
