// SPDX-License-Identifier: Apache-2.0
// Random steps, applied to a copy and to a tree in which every operation is done in the simplest
// way.
#include "tests/outline/UpdateTesting.h"
#include "tests/support/Property.h"

#include <gtest/gtest.h>
#include <vexil/outline/OutlineCopy.h>
#include <vexil/platform/Error.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using test::row;
using vexil::InsertedRow;
using vexil::OutlineCopy;
using vexil::OutlineStep;
using vexil::RowChange;
using vexil::RowNumber;
using vexil::RowState;

struct Node {
  RowState state;
  std::vector<Node> children;

  friend bool operator==(const Node&, const Node&) = default;
};

Node nodeOf(const OutlineCopy& copy, RowNumber number) {
  Node node{copy.state(number), {}};
  for (const RowNumber child : copy.children(number)) {
    RC_ASSERT(copy.parent(child) == number);
    node.children.push_back(nodeOf(copy, child));
  }
  return node;
}

std::size_t sizeOf(const Node& node) {
  std::size_t size = 1;
  for (const Node& child : node.children) {
    size += sizeOf(child);
  }
  return size;
}

/// The way to a row: the rows from the first level down to it.
using Way = std::vector<RowState>;

/// The ways to all rows, that to the top first.
void addWays(const Node& node, const Way& way, std::vector<Way>& ways) {
  ways.push_back(way);
  for (const Node& child : node.children) {
    Way longer = way;
    longer.push_back(child.state);
    addWays(child, longer, ways);
  }
}

bool begins(const Way& way, const Way& beginning) {
  return beginning.size() <= way.size() &&
         std::equal(beginning.begin(), beginning.end(), way.begin());
}

RowNumber numberOf(const Way& way) {
  return way.empty() ? 0 : way.back().number();
}

std::vector<RowState> statesOf(const std::vector<Node>& nodes) {
  std::vector<RowState> states;
  for (const Node& node : nodes) {
    states.push_back(node.state);
  }
  return states;
}

/// A tree, to which it does random steps. It returns each as an outline would.
class Model {
 public:
  [[nodiscard]] const Node& top() const { return _top; }

  OutlineStep step() {
    const Way parent = anyWay();
    if (nodeAt(parent).children.empty()) {
      return insert(parent);
    }
    switch (*rc::gen::weightedElement<int>({{4, 0}, {1, 1}, {2, 2}, {3, 3}, {1, 4}})) {
      case 0:
        return insert(parent);
      case 1:
        return remove(parent);
      case 2:
        return moveWithin(parent);
      case 3:
        return moveToOther(parent);
      default:
        return change(parent);
    }
  }

  /// The way to any row, or to the top.
  [[nodiscard]] Way anyWay() const {
    std::vector<Way> ways;
    addWays(_top, {}, ways);
    return *rc::gen::elementOf(ways);
  }

  Node& nodeAt(const Way& way) {
    Node* node = &_top;
    for (const RowState& state : way) {
      node = &*std::ranges::find_if(node->children, [&](const Node& child) {
        return child.state.number() == state.number();
      });
    }
    return *node;
  }

 private:
  struct Range {
    std::size_t first;
    std::size_t count;
  };

  static Range anyRange(const Node& parent) {
    const auto first = *rc::gen::inRange<std::size_t>(0, parent.children.size());
    return {first, *rc::gen::inRange<std::size_t>(1, parent.children.size() - first + 1)};
  }

  static std::size_t anyIndex(const std::vector<Node>& children) {
    return *rc::gen::inRange<std::size_t>(0, children.size() + 1);
  }

  static std::vector<Node> take(Node& parent, Range range) {
    const auto begin = parent.children.begin() + static_cast<std::ptrdiff_t>(range.first);
    const auto end = begin + static_cast<std::ptrdiff_t>(range.count);
    std::vector<Node> taken(begin, end);
    parent.children.erase(begin, end);
    return taken;
  }

  static void put(Node& parent, std::size_t index, const std::vector<Node>& nodes) {
    parent.children.insert(parent.children.begin() + static_cast<std::ptrdiff_t>(index),
                           nodes.begin(), nodes.end());
  }

  Node make(int depth, std::vector<InsertedRow>& rows) {
    const RowNumber number = _next++;
    Node node{row(number, *rc::gen::inRange(0, 3)), {}};
    const std::size_t place = rows.size();
    rows.push_back({node.state, 0});
    for (int i = depth == 0 ? 0 : *rc::gen::inRange(0, 3); i > 0; --i) {
      node.children.push_back(make(depth - 1, rows));
    }
    rows[place].childCount = node.children.size();
    return node;
  }

  OutlineStep insert(const Way& way) {
    Node& parent = nodeAt(way);
    const std::size_t first = anyIndex(parent.children);
    std::vector<InsertedRow> rows;
    std::vector<Node> nodes;
    for (int i = *rc::gen::inRange(1, 4); i > 0; --i) {
      nodes.push_back(make(2, rows));
    }
    put(parent, first, nodes);
    return test::insertion(numberOf(way), first, nodes.size(), std::move(rows));
  }

  OutlineStep remove(const Way& way) {
    Node& parent = nodeAt(way);
    const Range range = anyRange(parent);
    const std::vector<Node> nodes = take(parent, range);
    return test::removal(numberOf(way), range.first, statesOf(nodes), sizeOf({{}, nodes}) - 1);
  }

  OutlineStep moveWithin(const Way& way) {
    Node& parent = nodeAt(way);
    const Range range = anyRange(parent);
    const std::vector<Node> nodes = take(parent, range);
    const std::size_t newFirst = anyIndex(parent.children);
    put(parent, newFirst, nodes);
    return test::moveWithin(numberOf(way), range.first, newFirst, statesOf(nodes));
  }

  OutlineStep moveToOther(const Way& way) {
    const Range range = anyRange(nodeAt(way));
    const Way newWay = anyWay();
    const std::vector<Node>& children = nodeAt(way).children;
    for (std::size_t i = range.first; i < range.first + range.count; ++i) {
      Way moved = way;
      moved.push_back(children[i].state);
      if (begins(newWay, moved)) {
        return insert(way);  // it would move into itself
      }
    }
    if (newWay == way) {
      return moveWithin(way);
    }
    std::vector<Node> nodes = take(nodeAt(way), range);
    const std::vector<RowState> before = statesOf(nodes);
    std::vector<std::uint32_t> newOccurrences;
    for (Node& node : nodes) {
      newOccurrences.push_back(*rc::gen::inRange<std::uint32_t>(0, 3));
      node.state = row(node.state.number(), node.state.uniqueID(), node.state.label(),
                       newOccurrences.back());
    }
    const std::size_t newFirst = anyIndex(nodeAt(newWay).children);
    put(nodeAt(newWay), newFirst, nodes);
    return test::moveToOther(way, range.first, newWay, newFirst, before, newOccurrences);
  }

  OutlineStep change(const Way& way) {
    Node& parent = nodeAt(way);
    const Range range = anyRange(parent);
    std::vector<RowChange> changes;
    for (std::size_t i = range.first; i < range.first + range.count; ++i) {
      RowState& state = parent.children[i].state;
      const RowState before = state;
      state = row(state.number(), state.uniqueID(), *rc::gen::inRange(0, 9), state.occurrence());
      changes.push_back({before, state});
    }
    return test::change(numberOf(way), range.first, std::move(changes));
  }

  Node _top;
  RowNumber _next = 1;
};

PROPERTY(OutlineCopyProperty, FollowsAnyStepsAsATreeDoes, ()) {
  Model model;
  OutlineCopy copy;
  const int steps = *rc::gen::inRange(1, 30);
  for (int i = 0; i < steps; ++i) {
    copy.apply(model.step());
    RC_ASSERT(nodeOf(copy, 0) == model.top());
    RC_ASSERT(copy.rowCount() + 1 == sizeOf(model.top()));
  }
}

PROPERTY(OutlineCopyProperty, FollowsTheSameStepsAsOneUpdate, ()) {
  Model model;
  std::vector<OutlineStep> steps;
  for (int i = *rc::gen::inRange(1, 20); i > 0; --i) {
    steps.push_back(model.step());
  }
  OutlineCopy copy;
  copy.apply(vexil::OutlineUpdate(std::move(steps), sizeOf(model.top()) - 1));
  RC_ASSERT(nodeOf(copy, 0) == model.top());
}

/// Spoils a step that fits, so that it fits nowhere.
void spoil(OutlineStep& step) {
  using Kind = OutlineStep::Kind;
  constexpr RowNumber unknown = 1'000'000;
  switch (*rc::gen::inRange(0, 5)) {
    case 0:
      step.parent = unknown;
      return;
    case 1:
      step.first += 1000;
      return;
    case 2:
      step.count += *rc::gen::element<std::size_t>(1, 1000, SIZE_MAX);  // the last takes one away
      return;
    case 3:
      if (step.kind == Kind::moved) {
        step.newFirst += 1000;
      } else {
        step.count = 0;
      }
      return;
    default:
      break;
  }
  switch (step.kind) {
    case Kind::inserted: {
      auto& any = step.inserted[*rc::gen::inRange<std::size_t>(0, step.inserted.size())];
      if (*rc::gen::arbitrary<bool>()) {
        any.childCount += 1000;
      } else {
        any.state = row(0, "top");
      }
      return;
    }
    case Kind::changed: {
      auto& any = step.changes[*rc::gen::inRange<std::size_t>(0, step.changes.size())];
      (*rc::gen::arbitrary<bool>() ? any.before : any.after) = row(unknown, "x");
      return;
    }
    default:
      step.rows[*rc::gen::inRange<std::size_t>(0, step.rows.size())] = row(unknown, "x");
  }
}

PROPERTY(OutlineCopyProperty, IsUnchangedByAStepThatDoesNotFit, ()) {
  Model model;
  OutlineCopy copy;
  for (int i = *rc::gen::inRange(0, 10); i > 0; --i) {
    copy.apply(model.step());
  }
  const Node before = nodeOf(copy, 0);
  const OutlineStep step = model.step();
  OutlineStep spoiled = step;
  spoil(spoiled);
  RC_ASSERT_THROWS_AS(copy.apply(spoiled), platform::RangeError);
  RC_ASSERT(nodeOf(copy, 0) == before);
  copy.apply(step);
  RC_ASSERT(nodeOf(copy, 0) == model.top());
}

PROPERTY(OutlineCopyProperty, RefusesToMoveRowsIntoThemselves, ()) {
  Model model;
  OutlineCopy copy;
  for (int i = *rc::gen::inRange(1, 10); i > 0; --i) {
    copy.apply(model.step());
  }
  const Way into = model.anyWay();
  RC_PRE(!into.empty());
  const auto depth = *rc::gen::inRange<std::size_t>(0, into.size());
  const Way above(into.begin(), into.begin() + static_cast<std::ptrdiff_t>(depth));
  const auto& siblings = copy.children(numberOf(above));
  const auto index = static_cast<std::size_t>(std::ranges::find(siblings, into[depth].number()) -
                                              siblings.begin());
  const Node before = nodeOf(copy, 0);
  RC_ASSERT_THROWS_AS(copy.apply(test::moveToOther(above, index, into, 0, {into[depth]})),
                      platform::RangeError);
  RC_ASSERT(nodeOf(copy, 0) == before);
}

}  // namespace
