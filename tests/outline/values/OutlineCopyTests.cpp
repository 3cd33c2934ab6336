// SPDX-License-Identifier: Apache-2.0
#include "tests/outline/UpdateTesting.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/SmallStack.h"

#include <gtest/gtest.h>
#include <vexil/outline/OutlineCopy.h>
#include <vexil/platform/Error.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::RangeError;
using platform::Value;
using test::change;
using test::insertion;
using test::moveToOther;
using test::moveWithin;
using test::removal;
using test::row;
using vexil::OutlineCopy;
using vexil::OutlineStep;
using vexil::OutlineUpdate;
using vexil::RowNumber;
using vexil::RowState;

using Numbers = std::vector<RowNumber>;

/// #1 with #2 and #3, of which #3 has #4; then #5, #6 and #7.
OutlineStep family() {
  return insertion(0, 0, 4,
                   {{row(1, "a"), 2},
                    {row(2, "b"), 0},
                    {row(3, "c"), 1},
                    {row(4, "d"), 0},
                    {row(5, "e"), 0},
                    {row(6, "f"), 0},
                    {row(7, "g"), 0}});
}

OutlineCopy copyOfFamily() {
  OutlineCopy copy;
  copy.apply(family());
  return copy;
}

TEST(OutlineCopy, BeginsEmpty) {
  const OutlineCopy copy;
  EXPECT_EQ(copy.rowCount(), 0U);
  EXPECT_EQ(copy.description(), "");
  EXPECT_TRUE(copy.contains(0));
  EXPECT_FALSE(copy.contains(1));
  EXPECT_EQ(copy.parent(0), 0U);
  EXPECT_EQ(copy.children(0), Numbers{});
  EXPECT_EQ(copy.state(0), RowState());
}

TEST(OutlineCopy, ThrowsForRowsThatAreNotThere) {
  const OutlineCopy copy = copyOfFamily();
  EXPECT_THROW(static_cast<void>(copy.state(8)), RangeError);
  EXPECT_THROW(static_cast<void>(copy.parent(8)), RangeError);
  EXPECT_THROW(static_cast<void>(copy.children(8)), RangeError);
}

TEST(OutlineCopy, InsertsRowsWithThoseBelowThem) {
  OutlineCopy copy = copyOfFamily();
  EXPECT_EQ(copy.rowCount(), 7U);
  EXPECT_EQ(copy.children(0), (Numbers{1, 5, 6, 7}));
  EXPECT_EQ(copy.children(1), (Numbers{2, 3}));
  EXPECT_EQ(copy.children(3), (Numbers{4}));
  EXPECT_EQ(copy.parent(4), 3U);
  EXPECT_EQ(copy.parent(3), 1U);
  EXPECT_EQ(copy.parent(1), 0U);
  EXPECT_EQ(copy.state(4), row(4, "d"));
  copy.apply(insertion(1, 1, {row(8, "h"), row(9, "i")}));
  EXPECT_EQ(copy.children(1), (Numbers{2, 8, 9, 3}));
  EXPECT_EQ(copy.parent(9), 1U);
}

TEST(OutlineCopy, RemovesRowsWithThoseBelowThem) {
  OutlineCopy copy = copyOfFamily();
  copy.apply(removal(0, 0, {row(1, "a"), row(5, "e")}, 5));
  EXPECT_EQ(copy.rowCount(), 2U);
  EXPECT_EQ(copy.children(0), (Numbers{6, 7}));
  for (const RowNumber gone : Numbers{1, 2, 3, 4, 5}) {
    EXPECT_FALSE(copy.contains(gone)) << gone;
  }
}

TEST(OutlineCopy, MovesRowsAmongTheirSiblings) {
  OutlineCopy copy = copyOfFamily();
  copy.apply(moveWithin(0, 0, 2, {row(1, "a"), row(5, "e")}));
  EXPECT_EQ(copy.children(0), (Numbers{6, 7, 1, 5}));
  copy.apply(moveWithin(0, 3, 0, {row(5, "e")}));
  EXPECT_EQ(copy.children(0), (Numbers{5, 6, 7, 1}));
  copy.apply(moveWithin(0, 1, 2, {row(6, "f"), row(7, "g")}));
  EXPECT_EQ(copy.children(0), (Numbers{5, 1, 6, 7}));
  copy.apply(moveWithin(0, 1, 1, {row(1, "a")}));
  EXPECT_EQ(copy.children(0), (Numbers{5, 1, 6, 7}));
  EXPECT_EQ(copy.children(1), (Numbers{2, 3}));
}

TEST(OutlineCopy, MovesRowsToAnotherParent) {
  OutlineCopy copy = copyOfFamily();
  copy.apply(moveToOther({row(1, "a")}, 0, {row(6, "f")}, 0, {row(2, "b"), row(3, "c")}, {0, 4}));
  EXPECT_EQ(copy.children(1), Numbers{});
  EXPECT_EQ(copy.children(6), (Numbers{2, 3}));
  EXPECT_EQ(copy.parent(3), 6U);
  EXPECT_EQ(copy.children(3), (Numbers{4}));
  EXPECT_EQ(copy.state(2), row(2, "b"));
  EXPECT_EQ(copy.state(3), row(3, "c", {}, 4));
  copy.apply(moveToOther({row(6, "f")}, 1, {}, 4, {row(3, "c", {}, 4)}, {0}));
  EXPECT_EQ(copy.children(0), (Numbers{1, 5, 6, 7, 3}));
  EXPECT_EQ(copy.state(3), row(3, "c"));
  copy.apply(moveToOther({}, 1, {row(3, "c"), row(4, "d")}, 0, {row(5, "e")}));
  EXPECT_EQ(copy.children(4), (Numbers{5}));
  EXPECT_EQ(copy.rowCount(), 7U);
}

TEST(OutlineCopy, ChangesRows) {
  OutlineCopy copy = copyOfFamily();
  copy.apply(change(1, 0, {{row(2, "b"), row(2, "b", "B")}, {row(3, "c"), row(3, "c", "C")}}));
  EXPECT_EQ(copy.state(2), row(2, "b", "B"));
  EXPECT_EQ(copy.state(3), row(3, "c", "C"));
  EXPECT_EQ(copy.children(3), (Numbers{4}));
}

TEST(OutlineCopy, IsPrintedAsATree) {
  OutlineCopy copy = copyOfFamily();
  copy.apply(insertion(3, 0,
                       {RowState(RowState::Parts{.number = 8,
                                                 .uniqueID = "x",
                                                 .occurrence = 2,
                                                 .label = "X",
                                                 .className = "KRAVTWVEventVexil",
                                                 .enabled = true})}));
  EXPECT_EQ(copy.description(), R"(#1 "a" absent
  #2 "b" absent
  #3 "c" absent
    #8 "x" "X" occurrence=2 KRAVTWVEventVexil flags=enabled
    #4 "d" absent
#5 "e" absent
#6 "f" absent
#7 "g" absent)");
}

// --- steps that do not fit

TEST(OutlineCopy, RefusesStepsThatDoNotFit) {
  const RowState a = row(1, "a");
  const RowState b = row(2, "b");
  const RowState c = row(3, "c");
  const RowState d = row(4, "d");
  const RowState e = row(5, "e");
  const RowState g = row(7, "g");
  const RowState n = row(8, "n");
  const auto adjusted = [](OutlineStep step, const std::function<void(OutlineStep&)>& adjust) {
    adjust(step);
    return step;
  };
  const std::vector<std::pair<const char*, OutlineStep>> steps = {
      {"no parent to remove from", removal(8, 0, {a})},
      {"removed past the end", removal(0, 3, {g, n})},
      {"removed behind the end", removal(0, 4, {n})},
      {"removed far behind the end", removal(0, SIZE_MAX, {a})},
      {"no row to remove", removal(0, 0, {})},
      {"another row than named", removal(0, 0, {e})},
      {"another row is the second", removal(0, 0, {a, g})},
      {"more rows counted than named",
       adjusted(removal(0, 0, {a}), [](OutlineStep& step) { step.count = 2; })},
      {"fewer rows counted than named",
       adjusted(removal(0, 0, {a, e}), [](OutlineStep& step) { step.count = 1; })},
      {"a huge count",
       adjusted(removal(0, 1, {e}), [](OutlineStep& step) { step.count = SIZE_MAX; })},

      {"no parent to insert below", insertion(8, 0, {row(9, "n")})},
      {"below itself", insertion(8, 0, {n})},
      {"inserted past the end", insertion(0, 5, {n})},
      {"a number is taken", insertion(0, 0, {a})},
      {"a number is taken further down", insertion(0, 0, 1, {{n, 1}, {row(4, "x"), 0}})},
      {"the number of the top", insertion(0, 0, {row(0, "top")})},
      {"a number twice", insertion(0, 0, {n, n})},
      {"a number twice, one below the other", insertion(0, 0, 1, {{n, 1}, {n, 0}})},
      {"nothing inserted", insertion(0, 0, {})},
      {"fewer rows inserted than counted", insertion(0, 0, 2, {{n, 0}})},
      {"more rows inserted than counted", insertion(0, 0, 1, {{n, 0}, {row(9, "o"), 0}})},
      {"a child is missing", insertion(0, 0, 1, {{n, 2}, {row(9, "o"), 0}})},
      {"very many children are missing", insertion(0, 0, 1, {{n, SIZE_MAX}, {row(9, "o"), 0}})},

      {"no parent to move from", moveWithin(8, 0, 0, {a})},
      {"moved past the end", moveWithin(0, 0, 3, {a, e})},
      {"moved from behind the end", moveWithin(0, 4, 0, {n})},
      {"another row than named is moved", moveWithin(0, 0, 1, {e})},
      {"nothing moved", moveWithin(0, 0, 1, {})},
      {"an occurrence without another parent",
       adjusted(moveWithin(0, 0, 1, {a}), [](OutlineStep& step) { step.newOccurrences = {1}; })},
      {"rows above without another parent",
       adjusted(moveWithin(1, 0, 1, {b}), [&](OutlineStep& step) { step.above = {a}; })},
      {"rows above afterwards without another parent",
       adjusted(moveWithin(1, 0, 1, {b}), [&](OutlineStep& step) { step.newAbove = {a}; })},

      {"no parent to move to", moveToOther({}, 1, {n}, 0, {e})},
      {"no parent to move away from", moveToOther({n}, 0, {}, 0, {b})},
      {"moved past the end of another parent", moveToOther({}, 1, {a}, 3, {e})},
      {"past the end of the parent before", moveToOther({a}, 2, {}, 0, {e})},
      {"another row than named is moved away", moveToOther({}, 1, {a}, 0, {g})},
      {"into itself", moveToOther({}, 0, {a}, 0, {a})},
      {"into its child", moveToOther({}, 0, {a, b}, 0, {a})},
      {"into its grandchild", moveToOther({}, 0, {a, c, d}, 0, {a})},
      {"the second into itself", moveToOther({a}, 0, {a, c, d}, 0, {b, c})},
      {"an occurrence is missing", adjusted(moveToOther({}, 1, {a}, 0, {e}),
                                            [](OutlineStep& step) { step.newOccurrences = {}; })},
      {"an occurrence too many", adjusted(moveToOther({}, 1, {a}, 0, {e}),
                                          [](OutlineStep& step) {
                                            step.newOccurrences = {0, 0};
                                          })},
      {"rows above are missing",
       adjusted(moveToOther({a, c}, 0, {}, 0, {d}), [&](OutlineStep& step) { step.above = {c}; })},
      {"all rows above are missing",
       adjusted(moveToOther({a, c}, 0, {}, 0, {d}), [](OutlineStep& step) { step.above = {}; })},
      {"other rows are above", adjusted(moveToOther({a, c}, 0, {}, 0, {d}),
                                        [&](OutlineStep& step) {
                                          step.above = {e, c};
                                        })},
      {"rows are above the top", adjusted(moveToOther({a, c}, 0, {}, 0, {d}),
                                          [&](OutlineStep& step) { step.newAbove = {a}; })},
      {"rows above afterwards are missing",
       adjusted(moveToOther({}, 1, {a, c}, 0, {e}),
                [&](OutlineStep& step) { step.newAbove = {c}; })},
      {"the top is above itself", adjusted(moveToOther({}, 1, {a}, 0, {e}),
                                           [&](OutlineStep& step) {
                                             step.newAbove = {row(0, {}), a};
                                           })},

      {"no parent of changes", change(8, 0, {{a, a}})},
      {"changes past the end", change(0, 3, {{g, g}, {n, n}})},
      {"no changes", change(0, 0, {})},
      {"another row before", change(0, 0, {{e, a}})},
      {"another row afterwards", change(0, 0, {{a, e}})},
      {"another row changes", change(0, 0, {{e, e}})},
      {"fewer changes than counted",
       adjusted(change(0, 0, {{a, a}}), [](OutlineStep& step) { step.count = 2; })},
  };
  OutlineCopy copy = copyOfFamily();
  const std::string before = copy.description();
  for (const auto& [what, step] : steps) {
    EXPECT_THROW(copy.apply(step), RangeError) << what;
    EXPECT_EQ(copy.description(), before) << what;
    EXPECT_EQ(copy.rowCount(), 7U) << what;
  }
  copy.apply(insertion(0, 4, {n}));  // what is refused leaves no trace of its numbers
  EXPECT_EQ(copy.rowCount(), 8U);
}

TEST(OutlineCopy, KeepsTheStepsBeforeOneThatDoesNotFit) {
  OutlineCopy copy;
  const OutlineUpdate update(
      {family(), removal(0, 0, {row(5, "e")}), insertion(0, 0, {row(8, "n")})}, 7);
  EXPECT_THROW(copy.apply(update), RangeError);
  EXPECT_EQ(copy.description(), copyOfFamily().description());
}

TEST(OutlineCopy, ComparesRowsByTheirNumbers) {
  OutlineCopy copy = copyOfFamily();
  copy.apply(removal(0, 1, {row(5, "another identifier", "L", 3)}));
  EXPECT_FALSE(copy.contains(5));
}

// --- memory, depth, foreign code

TEST(OutlineCopy, IsUnchangedWhenMemoryRunsOut) {
  const std::vector<OutlineStep> steps = {
      insertion(1, 1, 1, {{row(8, "h"), 2}, {row(9, "i"), 0}, {row(10, "j"), 0}}),
      removal(0, 0, {row(1, "a"), row(5, "e")}, 5),
      moveWithin(0, 0, 1, {row(1, "a")}),
      moveToOther({row(1, "a")}, 0, {row(7, "g")}, 0, {row(2, "b"), row(3, "c")}, {3, 4}),
      change(0, 1, {{row(5, "e"), row(5, "e", "E")}, {row(6, "f"), row(6, "f", "F")}}),
  };
  const std::string before = copyOfFamily().description();
  for (const OutlineStep& step : steps) {
    std::unique_ptr<OutlineCopy> copy;
    const auto prepare = [&] {
      if (copy) {
        EXPECT_EQ(copy->description(), before);
      }
      copy = std::make_unique<OutlineCopy>(copyOfFamily());
    };
    const std::size_t failures = test::failEachAllocation(prepare, [&] { copy->apply(step); });
    EXPECT_EQ(failures == 0,
              step.kind == OutlineStep::Kind::moved && step.newParent == step.parent);
    OutlineCopy whole = copyOfFamily();
    whole.apply(step);
    EXPECT_EQ(copy->description(), whole.description());
  }
}

TEST(OutlineCopy, OfADeepChainDoesNotRecurse) {
  test::runOnSmallStack([] {
    const auto rows = test::chainOfRows(1, test::deepNesting);
    OutlineCopy copy;
    copy.apply(insertion(0, 0, 1, rows));
    EXPECT_EQ(copy.parent(test::deepNesting), test::deepNesting - 1);
    EXPECT_FALSE(copy.description().empty());
    OutlineCopy other = copy;
    copy.apply(removal(0, 0, {rows.front().state}, test::deepNesting));
    EXPECT_EQ(copy.rowCount(), 0U);
    std::vector<RowState> above;
    for (std::size_t i = 0; i + 1 < rows.size(); ++i) {
      above.push_back(rows[i].state);
    }
    other.apply(moveToOther(above, 0, {}, 1, {rows.back().state}));
    EXPECT_EQ(other.children(0), (Numbers{1, test::deepNesting}));
  });
}

/// Calls a function when it goes.
class Farewell : public platform::Object {
 public:
  explicit Farewell(std::function<void()> call) : _call(std::move(call)) {}
  ~Farewell() override { _call(); }

 private:
  std::function<void()> _call;
};

RowState rowWithFarewell(RowNumber number, const std::function<void()>& call) {
  return RowState(RowState::Parts{.number = number,
                                  .representedObject = Value(std::make_shared<Farewell>(call))});
}

// An object that goes with a row finds the copy as it is after all steps, and may change it.
TEST(OutlineCopy, LetsObjectsGoWhenItIsDone) {
  OutlineCopy copy;
  int calls = 0;
  RowNumber next = 100;
  const auto meddle = [&] {
    ++calls;
    EXPECT_EQ(copy.children(0).front(), 2U);
    EXPECT_EQ(copy.state(3), row(3, "c"));
    const std::size_t end = copy.children(0).size();
    for (int i = 0; i < 100; ++i) {
      copy.apply(insertion(0, end, {row(next++, "n")}));
    }
  };
  copy.apply(
      insertion(0, 0, {rowWithFarewell(1, meddle), row(2, "b"), rowWithFarewell(3, meddle)}));
  const OutlineUpdate update(
      {removal(0, 0, {row(1, {})}), change(0, 1, {{row(3, {}), row(3, "c")}}),
       moveWithin(0, 0, 1, {row(2, "b")}), moveWithin(0, 1, 0, {row(2, "b")})},
      2);
  copy.apply(update);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(copy.rowCount(), 202U);
  EXPECT_EQ(copy.state(3), row(3, "c"));
}

TEST(OutlineCopy, SurvivesAnObjectThatTakesTheUpdateAway) {
  OutlineCopy copy;
  std::unique_ptr<OutlineUpdate> update;
  copy.apply(insertion(0, 0, {rowWithFarewell(1, [&] { update.reset(); }), row(2, "b")}));
  update = std::make_unique<OutlineUpdate>(
      std::vector<OutlineStep>{removal(0, 0, {row(1, {})}), removal(0, 0, {row(2, "b")})}, 0);
  copy.apply(*update);
  EXPECT_EQ(copy.rowCount(), 0U);
  EXPECT_EQ(update, nullptr);
}

}  // namespace
