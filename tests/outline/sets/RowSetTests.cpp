// SPDX-License-Identifier: Apache-2.0
#include "RowSetTesting.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/Lines.h"
#include "tests/support/Property.h"
#include "tests/support/SmallStack.h"
#include "tests/vexil/ItemTesting.h"

#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/RowSet.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::entry;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::rows;
using test::setOf;
using test::setWith;
using vexil::Outline;
using vexil::OutlineRow;
using vexil::RowSet;

/// An item with any identifier, or none, and children, which may be equal.
ItemPointer item(const Value& uniqueID, KRAVTWVItemArray children = {}) {
  auto item = KRAVTWVItemVexil::itemWithRepresentedObject({});
  item->setUniqueID(uniqueID);
  item->setChildren(items(std::move(children)));
  return item;
}

/// The rows of a tree.
class Rows {
 public:
  explicit Rows(KRAVTWVItemArray children)
      : root(item("root", std::move(children))), outline(root) {
    outline.update();
  }

  /// The row at a path of indexes.
  OutlineRow& at(const std::vector<std::size_t>& indexes) const {
    OutlineRow* row = &outline.top();
    for (const std::size_t index : indexes) {
      row = row->child(index);
    }
    return *row;
  }

  ItemPointer root;
  Outline outline;
};

/// The paths of rows, in their order: "0", "0.2".
Lines pathsOf(const std::vector<OutlineRow*>& rows) {
  Lines paths;
  for (const OutlineRow* row : rows) {
    std::string path;
    for (; !row->isTop(); row = row->parent()) {
      path = std::to_string(row->index()) + (path.empty() ? "" : "." + path);
    }
    paths.push_back(path);
  }
  return paths;
}

TEST(RowSet, ContainsTheRowsThatWereInserted) {
  const Rows rows({item("a", {item("b"), item("c")}), item("b")});
  RowSet set;
  EXPECT_FALSE(set.contains(rows.at({0})));
  set.insert(rows.at({0, 0}));
  set.insert(rows.at({1}));
  set.insert(rows.at({1}));
  EXPECT_TRUE(set.contains(rows.at({0, 0})));
  EXPECT_TRUE(set.contains(rows.at({1})));
  EXPECT_FALSE(set.contains(rows.at({0})));
  EXPECT_FALSE(set.contains(rows.at({0, 1})));
  EXPECT_EQ(set.count(), 2U);
  EXPECT_EQ(set.propertyList(),
            test::rows({entry("a", false, {entry("b", true)}), entry("b", true)}));
}

TEST(RowSet, LosesTheRowsThatWereRemoved) {
  const Rows rows({item("a", {item("b", {item("c")})})});
  RowSet set;
  set.remove(rows.at({0}));
  set.insert(rows.at({0}));
  set.insert(rows.at({0, 0, 0}));
  set.remove(rows.at({0, 0}));
  EXPECT_EQ(set.count(), 2U);
  set.remove(rows.at({0}));
  EXPECT_FALSE(set.contains(rows.at({0})));
  EXPECT_TRUE(set.contains(rows.at({0, 0, 0})));
  set.remove(rows.at({0, 0, 0}));
  EXPECT_TRUE(set.isEmpty());
  EXPECT_EQ(set.propertyList(), test::rows({}));
}

TEST(RowSet, NeverContainsTheTop) {
  const Rows rows({item("a")});
  RowSet set;
  set.insert(rows.at({}));
  EXPECT_FALSE(set.contains(rows.at({})));
  EXPECT_TRUE(set.isEmpty());
  set.insert(rows.at({0}));
  set.remove(rows.at({}));
  EXPECT_EQ(set.count(), 1U);
  EXPECT_EQ(pathsOf(set.rowsOf(rows.outline)), Lines{"0"});
}

TEST(RowSet, TellsSiblingsOfOneIdentifierApart) {
  const Rows rows({item("a", {item("x")}), item("a", {item("x")}), item("b"), item("a")});
  RowSet set;
  set.insert(rows.at({1}));
  set.insert(rows.at({0, 0}));
  EXPECT_FALSE(set.contains(rows.at({0})));
  EXPECT_TRUE(set.contains(rows.at({1})));
  EXPECT_FALSE(set.contains(rows.at({3})));
  EXPECT_TRUE(set.contains(rows.at({0, 0})));
  EXPECT_FALSE(set.contains(rows.at({1, 0})));
  EXPECT_EQ(pathsOf(set.rowsOf(rows.outline)), (Lines{"0.0", "1"}));
  EXPECT_EQ(set.propertyList(),
            test::rows({entry("a", false, {entry("x", true)}), entry("a", true, {}, 1)}));
}

TEST(RowSet, KnowsTheRowsOfAnotherTreeWithTheSameIdentifiers) {
  RowSet set;
  {
    const Rows rows({item("a", {item("b")}), item(7)});
    set.insert(rows.at({0, 0}));
    set.insert(rows.at({1}));
  }
  const Rows others({item("c"), item(7.0), item("a", {item("d"), item("b")})});
  EXPECT_EQ(pathsOf(set.rowsOf(others.outline)), (Lines{"1", "2.1"}));
  EXPECT_TRUE(set.contains(others.at({2, 1})));
  EXPECT_EQ(pathsOf(setOf(set.propertyList()).rowsOf(others.outline)), (Lines{"1", "2.1"}));
}

TEST(RowSet, FindsItsRowsInTheOrderOfAView) {
  const Rows rows({item("d", {item("z"), item("y", {item("x")})}), item("c"),
                   item("b", {item("w")}), item("a")});
  const RowSet set =
      setWith({entry("a", true), entry("b", true, {entry("w", true), entry("gone", true)}),
               entry("d", true, {entry("y", true, {entry("x", true)}), entry("z", true)}),
               entry("gone", true, {entry("z", true)})});
  EXPECT_EQ(pathsOf(set.rowsOf(rows.outline)),
            (Lines{"0", "0.0", "0.1", "0.1.0", "2", "2.0", "3"}));
  EXPECT_EQ(set.count(), 10U);
}

TEST(RowSet, RemembersRowsThatDisappearAndReturn) {
  Rows rows({item("a", {item("b")})});
  RowSet set;
  set.insert(rows.at({0, 0}));
  rows.root->replaceChildren(items({item("c")}));
  set.follow(rows.outline.update());
  EXPECT_EQ(pathsOf(set.rowsOf(rows.outline)), Lines{});
  EXPECT_EQ(set.count(), 1U);
  rows.root->replaceChildren(items({item("c"), item("a", {item("b")})}));
  set.follow(rows.outline.update());
  EXPECT_EQ(pathsOf(set.rowsOf(rows.outline)), Lines{"1.0"});
}

TEST(RowSet, FollowsRowsThatAnOutlineMoves) {
  Rows rows({item("a", {item("b", {item("c")}), item("d")}), item("e")});
  RowSet set;
  set.insert(rows.at({0, 0, 0}));
  set.insert(rows.at({0, 1}));
  rows.root->replaceChildren(items({item("a", {item("d")}), item("e", {item("b", {item("c")})})}));
  set.follow(rows.outline.update());
  EXPECT_EQ(pathsOf(set.rowsOf(rows.outline)), (Lines{"0.0", "1.0.0"}));
  EXPECT_EQ(set.count(), 2U);
}

// --- rows without identifiers

TEST(RowSet, KnowsRowsWithoutIdentifiersByTheirItems) {
  const auto one = item({}, {item("b")});
  const auto other = item({}, {item("b")});
  const Rows rows({one, item("a"), other});
  RowSet set;
  set.insert(rows.at({2}));
  set.insert(rows.at({2, 0}));
  EXPECT_FALSE(set.contains(rows.at({0})));
  EXPECT_FALSE(set.contains(rows.at({0, 0})));
  EXPECT_TRUE(set.contains(rows.at({2})));
  EXPECT_EQ(pathsOf(set.rowsOf(rows.outline)), (Lines{"2", "2.0"}));
  const Rows turned({other, one});
  EXPECT_EQ(pathsOf(set.rowsOf(turned.outline)), (Lines{"0", "0.0"}));
  set.remove(turned.at({0}));
  EXPECT_EQ(pathsOf(set.rowsOf(rows.outline)), (Lines{"2.0"}));
  set.remove(rows.at({2, 0}));
  EXPECT_TRUE(set.isEmpty());
}

TEST(RowSet, DoesNotStoreRowsWithoutIdentifiers) {
  const Rows rows({item({}, {item("b")}), item("a", {item({}), item("c")})});
  RowSet set;
  for (const auto& path : std::vector<std::vector<std::size_t>>{{0}, {0, 0}, {1, 0}, {1, 1}}) {
    set.insert(rows.at(path));
  }
  EXPECT_EQ(set.count(), 4U);
  EXPECT_EQ(set.propertyList(), test::rows({entry("a", false, {entry("c", true)})}));
  const RowSet copy = set;
  EXPECT_EQ(pathsOf(copy.rowsOf(rows.outline)), (Lines{"0", "0.0", "1.0", "1.1"}));
}

TEST(RowSet, ForgetsItemsThatAreGone) {
  RowSet set;
  for (int i = 0; i < 1000; ++i) {
    const Rows rows({item({}), item("a", {item({}, {item("b")})})});
    set.insert(rows.at({0}));
    set.insert(rows.at({1, 0, 0}));
    ASSERT_TRUE(set.contains(rows.at({0})));
    ASSERT_EQ(set.rowsOf(rows.outline).size(), 2U);
  }
  EXPECT_LT(set.count(), 100U);
  set.insert(Rows({item("z")}).at({0}));
  const Rows others({item({}), item("a", {item({}, {item("b")})})});
  EXPECT_EQ(pathsOf(set.rowsOf(others.outline)), Lines{});
}

TEST(RowSet, HasNoPlaceForRowsOfItemsThatAreGone) {
  Rows rows({item({}, {item("b")})});
  RowSet set;
  set.insert(rows.at({0, 0}));
  rows.root->setChildren(items({}));
  EXPECT_FALSE(set.contains(rows.at({0, 0})));
  set.insert(rows.at({0}));
  set.remove(rows.at({0, 0}));
  EXPECT_EQ(set.count(), 1U);
}

// --- depth and memory

TEST(RowSet, OfDeepRowsIsFoundWithoutRecursion) {
  test::runOnSmallStack([] {
    ItemPointer chain = item("leaf");
    for (std::size_t i = 0; i < test::deepNesting; ++i) {
      chain = item("n", {std::move(chain)});
    }
    const Rows rows({std::move(chain)});
    OutlineRow* leaf = &rows.outline.top();
    while (leaf->childCount() > 0) {
      leaf = leaf->child(0);
    }
    RowSet set;
    set.insert(*leaf);
    EXPECT_TRUE(set.contains(*leaf));
    EXPECT_FALSE(set.contains(*leaf->parent()));
    EXPECT_EQ(set.rowsOf(rows.outline), std::vector<OutlineRow*>{leaf});
    set.remove(*leaf);
    EXPECT_TRUE(set.isEmpty());
  });
}

TEST(RowSet, IsUnchangedWhenMemoryRunsOut) {
  const Rows rows({item("a", {item("b", {item("c"), item({})})})});
  const Value before = test::rows({entry("a", false, {entry("d", true)})});
  for (const std::size_t index : std::vector<std::size_t>{0, 1}) {
    RowSet set;
    const auto prepare = [&] {
      EXPECT_TRUE(set.isEmpty() || set.propertyList() == before);
      set = setOf(before);
    };
    EXPECT_GT(test::failEachAllocation(prepare, [&] { set.insert(rows.at({0, 0, index})); }), 0U);
    EXPECT_EQ(set.count(), 2U);
    EXPECT_TRUE(set.contains(rows.at({0, 0, index})));
  }
}

// --- identifiers that hold objects of a host

/// An identifier that a host compares. `inTheMiddle` runs in each call.
class HostIdentifier : public platform::Object {
 public:
  HostIdentifier(int number, std::function<void()>* inTheMiddle)
      : _number(number), _inTheMiddle(inTheMiddle) {}

  [[nodiscard]] bool isEqual(const Object& other) const override {
    const int number = _number;
    const auto* const identifier = dynamic_cast<const HostIdentifier*>(&other);
    const bool isEqual = identifier != nullptr && identifier->_number == number;
    run();
    return isEqual;
  }
  [[nodiscard]] std::size_t hash() const override {
    run();
    return 1;  // the same for all, so that all are compared
  }

 private:
  void run() const {
    if (_inTheMiddle != nullptr && *_inTheMiddle) {
      (*_inTheMiddle)();
    }
  }

  int _number;
  std::function<void()>* _inTheMiddle;
};

/// Rows with such identifiers at two levels, each made anew, and a set.
struct HostRows {
  std::function<void()> inTheMiddle;
  std::optional<RowSet> set{RowSet()};

  ItemPointer hostItem(int number, KRAVTWVItemArray children = {}) {
    return item(Value(std::make_shared<HostIdentifier>(number, &inTheMiddle)), std::move(children));
  }
  Rows rows() { return Rows({hostItem(1, {hostItem(4), hostItem(5)}), hostItem(2), hostItem(3)}); }
};

TEST(RowSet, ComparesIdentifiersAsAHostDoes) {
  HostRows host;
  const Rows one = host.rows();
  const Rows other = host.rows();
  host.set->insert(one.at({0, 1}));
  host.set->insert(one.at({2}));
  host.set->insert(other.at({2}));
  EXPECT_EQ(host.set->count(), 2U);
  EXPECT_TRUE(host.set->contains(other.at({0, 1})));
  EXPECT_FALSE(host.set->contains(other.at({0, 0})));
  EXPECT_FALSE(host.set->contains(other.at({1})));
  EXPECT_EQ(pathsOf(host.set->rowsOf(other.outline)), (Lines{"0.1", "2"}));
  EXPECT_EQ(host.set->propertyList(), test::rows({}));
  host.set->remove(other.at({0, 1}));
  EXPECT_EQ(pathsOf(host.set->rowsOf(one.outline)), (Lines{"2"}));
}

/// What a host may do to the set while it is asked.
std::vector<std::pair<std::string, std::function<void(HostRows&, const Rows&)>>> meddling() {
  return {
      {"clears", [](HostRows& host, const Rows&) { host.set->clear(); }},
      {"assigns", [](HostRows& host, const Rows&) { host.set = RowSet(); }},
      {"destroys", [](HostRows& host, const Rows&) { host.set.reset(); }},
      {"copies and assigns", [](HostRows& host, const Rows&) { host.set = RowSet(*host.set); }},
      {"inserts", [](HostRows& host, const Rows& rows) { host.set->insert(rows.at({1})); }},
      {"inserts the same",
       [](HostRows& host, const Rows& rows) {
         host.set->insert(rows.at({0, 1}));
       }},
      {"removes the same",
       [](HostRows& host, const Rows& rows) {
         host.set->remove(rows.at({0, 1}));
       }},
      {"removes a sibling",
       [](HostRows& host, const Rows& rows) {
         host.set->remove(rows.at({0, 0}));
       }},
      {"removes the parent",
       [](HostRows& host, const Rows& rows) { host.set->remove(rows.at({0})); }},
      {"moves away",
       [](HostRows& host, const Rows&) { const RowSet taken = std::move(*host.set); }},
  };
}

// Nothing here crashes, and a set that is still there says of each row the same in both ways.
TEST(RowSet, SurvivesAHostThatChangesItInTheMiddle) {
  using Operation = std::function<void(HostRows&, const Rows&)>;
  const std::vector<std::pair<std::string, Operation>> operations = {
      {"insert",
       [](HostRows& host, const Rows& rows) {
         host.set->insert(rows.at({0, 1}));
       }},
      {"remove",
       [](HostRows& host, const Rows& rows) {
         host.set->remove(rows.at({0, 1}));
       }},
      {"contains",
       [](HostRows& host, const Rows& rows) {
         static_cast<void>(host.set->contains(rows.at({0, 1})));
       }},
      {"rowsOf",
       [](HostRows& host, const Rows& rows) { static_cast<void>(host.set->rowsOf(rows.outline)); }},
      {"follow",
       [](HostRows& host, const Rows& rows) {
         const vexil::RowState parent = rows.at({0}).state();
         const vexil::RowState newParent = rows.at({2}).state();
         const vexil::OutlineStep step{.kind = vexil::OutlineStep::Kind::moved,
                                       .parent = parent.number(),
                                       .count = 2,
                                       .newParent = newParent.number(),
                                       .rows = {rows.at({0, 0}).state(), rows.at({0, 1}).state()},
                                       .newOccurrences = {0, 0},
                                       .above = {parent},
                                       .newAbove = {newParent}};
         host.set->follow(vexil::OutlineUpdate({step}, 0));
       }},
  };
  for (const auto& [what, operation] : operations) {
    for (const auto& [how, meddle] : meddling()) {
      for (int at = 0; at < 12; ++at) {
        HostRows host;
        const Rows rows = host.rows();
        const Rows others = host.rows();
        for (const auto& path :
             std::vector<std::vector<std::size_t>>{{0}, {0, 0}, {0, 1}, {1}, {2}}) {
          host.set->insert(others.at(path));
        }
        int calls = 0;
        host.inTheMiddle = [&] {
          if (calls++ == at && host.set) {
            meddle(host, rows);
          }
        };
        operation(host, rows);
        host.inTheMiddle = nullptr;
        if (host.set) {
          std::size_t found = 0;
          for (const auto& path :
               std::vector<std::vector<std::size_t>>{{0}, {0, 0}, {0, 1}, {1}, {2}}) {
            found += std::size_t{host.set->contains(rows.at(path))};
          }
          EXPECT_EQ(host.set->rowsOf(rows.outline).size(), found)
              << what << ", " << how << ", at call " << at;
        }
      }
    }
  }
}

TEST(RowSet, InsertsARowAlthoughAHostRemovesItsParentInTheMiddle) {
  for (int at = 0; at < 8; ++at) {
    HostRows host;
    const Rows rows = host.rows();
    const Rows others = host.rows();
    host.set->insert(others.at({0}));
    int calls = 0;
    host.inTheMiddle = [&] {
      if (calls++ == at) {
        host.set->clear();
      }
    };
    host.set->insert(rows.at({0, 1}));
    host.inTheMiddle = nullptr;
    EXPECT_TRUE(host.set->contains(rows.at({0, 1}))) << at;
  }
}

TEST(RowSet, IsUnchangedWhenAHostThrows) {
  for (int at = 0; at < 6; ++at) {
    HostRows host;
    const Rows rows = host.rows();
    const Rows others = host.rows();
    host.set->insert(others.at({0, 0}));
    host.set->insert(others.at({2}));
    int calls = 0;
    bool hasThrown = false;
    host.inTheMiddle = [&] {
      if (calls++ == at) {
        hasThrown = true;
        throw std::runtime_error("thrown");
      }
    };
    try {
      host.set->insert(rows.at({0, 1}));
    } catch (const std::runtime_error&) {
    }
    host.inTheMiddle = nullptr;
    EXPECT_EQ(host.set->count(), hasThrown ? 2U : 3U) << at;
    EXPECT_EQ(pathsOf(host.set->rowsOf(rows.outline)),
              hasThrown ? (Lines{"0.0", "2"}) : (Lines{"0.0", "0.1", "2"}));
  }
}

// --- any rows

struct Tree {
  KRAVTWVItemArray items;
  std::vector<std::vector<std::size_t>> paths;  // of all rows, in the order of a view
};

KRAVTWVItemArray anyItems(int depth, const std::vector<std::size_t>& above, Tree& tree) {
  KRAVTWVItemArray children;
  for (int i = *rc::gen::inRange(0, 4); i > 0; --i) {
    std::vector<std::size_t> path = above;
    path.push_back(children.size());
    tree.paths.push_back(path);
    const int uniqueID = *rc::gen::inRange(0, 4);
    children.push_back(item(uniqueID == 0 ? Value() : Value(uniqueID),
                            depth == 0 ? KRAVTWVItemArray() : anyItems(depth - 1, path, tree)));
  }
  return children;
}

PROPERTY(RowSetProperty, IsASetOfRows, ()) {
  Tree tree;
  const Rows rows(anyItems(3, {}, tree));
  RowSet set;
  std::map<std::vector<std::size_t>, bool> model;
  for (int i = tree.paths.empty() ? 0 : *rc::gen::inRange(1, 30); i > 0; --i) {
    const std::vector<std::size_t> path = *rc::gen::elementOf(tree.paths);
    const bool in = *rc::gen::weightedElement<bool>({{2, true}, {1, false}});
    model[path] = in;
    if (in) {
      set.insert(rows.at(path));
    } else {
      set.remove(rows.at(path));
    }
  }
  std::vector<OutlineRow*> expected;
  for (const auto& path : tree.paths) {
    RC_ASSERT(set.contains(rows.at(path)) == model[path]);
    if (model[path]) {
      expected.push_back(&rows.at(path));
    }
  }
  RC_ASSERT(set.count() == expected.size());
  RC_ASSERT(set.rowsOf(rows.outline) == expected);
  RC_ASSERT(RowSet(set).rowsOf(rows.outline) == expected);
  const auto isStored = [](const OutlineRow* row) {
    while (!row->isTop() && !row->uniqueID().isAbsent()) {
      row = row->parent();
    }
    return row->isTop();
  };
  std::erase_if(expected, [&](const OutlineRow* row) { return !isStored(row); });
  RC_ASSERT(setOf(set.propertyList()).rowsOf(rows.outline) == expected);
}

}  // namespace
