// SPDX-License-Identifier: Apache-2.0
// Merges of trees that watchers follow. For a merge they do not count: it takes its short ways.
#include "tests/support/AllocationCounter.h"
#include "tests/support/TreeRecorder.h"
#include "tests/support/WatchRecorder.h"

#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/detail/Watcher.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::Key;
using platform::Value;
using platform::detail::ManyWatches;
using platform::detail::Watching;
using test::eventItem;
using test::eventRecord;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::outline;
using test::plainItem;
using test::plainItemWith;
using test::TreeRecorder;
using test::watch;
using test::WatchRecorder;

/// Registers a watcher of the children on each item of a tree.
void watchAll(const ItemPointer& root, const std::shared_ptr<platform::detail::Watcher>& watcher,
              Watching watching = Watching::oneKey) {
  ManyWatches watches(watcher, "children", watching);
  for (const auto& item : root->recursiveChildren()) {
    watches.addTo(*item);
  }
  watches.addTo(*root);
}

/// A watcher that writes the identifiers of items.
std::shared_ptr<WatchRecorder> treeWatcher(Lines& lines) {
  auto watcher = WatchRecorder::make("w", lines);
  watcher->nameOfObject = [](const platform::Observable& object) {
    const auto* item = dynamic_cast<const KRAVTWVItemVexil*>(&object);
    return item == nullptr ? object.className() : item->uniqueID().displayText();
  };
  return watcher;
}

// --- deep trees

/// Checks that ends come in the order of the beginnings, backwards.
class Nesting : public platform::detail::Watcher {
 public:
  void willChange(const platform::Observable& object,
                  const platform::ChangeRecord& /*change*/) noexcept override {
    _open.push_back(&object);
    deepest = std::max(deepest, _open.size());
  }
  void didChange(const platform::Observable& object,
                 const platform::ChangeRecord& /*change*/) noexcept override {
    close(object);
    ++changes;
  }
  void didDrop(const platform::Observable& object,
               const platform::ChangeRecord& /*change*/) noexcept override {
    close(object);
    ++drops;
  }
  void didSet(const platform::Observable& /*object*/, const Key& /*key*/) noexcept override {
    ++settings;
  }
  [[nodiscard]] std::size_t open() const { return _open.size(); }

  std::size_t deepest = 0;
  std::size_t changes = 0;
  std::size_t drops = 0;
  std::size_t settings = 0;
  std::size_t mistakes = 0;

 private:
  void close(const platform::Observable& object) {
    if (_open.empty() || _open.back() != &object) {
      ++mistakes;
    } else {
      _open.pop_back();
    }
  }
  std::vector<const platform::Observable*> _open;
};

constexpr std::size_t levels = 1'000;

/// n - n - ... of which the last represents `leaf`. Nobody else holds the items.
std::shared_ptr<KRAVTWVItemArray> chain(const Value& leaf) {
  auto below = items({});
  for (std::size_t i = 0; i < levels; ++i) {
    auto item = plainItemWith("n", i == 0 ? leaf : Value("n"));
    item->setChildren(std::move(below));
    below = std::make_shared<KRAVTWVItemArray>();
    below->push_back(std::move(item));
  }
  return below;
}

ItemPointer rootOfChain() {
  auto root = plainItem("root");
  root->replaceChildren(chain("old"));
  return root;
}

std::size_t memoryOfMerge(const ItemPointer& root) {
  auto fresh = chain("new");
  return test::allocationsOf([&] { root->replaceChildren(std::exchange(fresh, nullptr)); });
}

TEST(WatchedMerge, OfAChainTellsOfEachLevelWithinTheOneAbove) {
  const auto root = rootOfChain();
  const auto watcher = std::make_shared<Nesting>();
  watchAll(root, watcher, Watching::everyKey);
  root->replaceChildren(chain("new"));
  EXPECT_EQ(watcher->mistakes, 0U);
  EXPECT_EQ(watcher->open(), 0U);
  EXPECT_EQ(watcher->deepest, levels);
  EXPECT_EQ(watcher->changes, levels);
  EXPECT_EQ(watcher->drops, 0U);
  EXPECT_EQ(watcher->settings, levels);  // of represented objects
}

TEST(WatchedMerge, OfAChainIsAsQuickAsThatOfAnUnwatchedOne) {
  const std::size_t unwatched = memoryOfMerge(rootOfChain());
  const auto root = rootOfChain();
  watchAll(root, std::make_shared<Nesting>(), Watching::everyKey);  // gone at once
  const auto watcher = std::make_shared<Nesting>();
  watchAll(root, watcher, Watching::oneKey);
  // Each level needs a note of the change, a copy of the indexes, and a sweep of who is gone.
  EXPECT_LE(memoryOfMerge(root), unwatched + 4 * levels);
  EXPECT_EQ(watcher->changes, levels);

  // An observer may do anything, so then each level is compared anew: levels * levels / 2.
  const auto observed = rootOfChain();
  const auto recorder = TreeRecorder::make();
  observed->addObserverForRecursiveChildrenWithOptionContext(
      recorder, platform::ObservingOptions::none, nullptr);
  EXPECT_GT(memoryOfMerge(observed), unwatched + levels * levels / 4);
}

TEST(WatchedMerge, ThatFailsDropsWhatIsOpenFromTheInnermostOut) {
  const auto root = plainItem("root");
  root->replaceChildren(
      items({plainItemWith("a", 1, {plainItemWith("b", 1, {plainItemWith("c", 1)})})}));
  const auto watcher = std::make_shared<Nesting>();
  watchAll(root, watcher);
  const auto nameless = plainItem("content");
  nameless->setUniqueID({});
  const auto fresh =
      items({plainItemWith("a", 2, {plainItemWith("b", 2, {plainItemWith("c", 2, {nameless})})})});
  EXPECT_THROW(root->replaceChildren(fresh), InvalidArgument);
  EXPECT_EQ(watcher->mistakes, 0U);
  EXPECT_EQ(watcher->open(), 0U);
  EXPECT_EQ(watcher->drops, 3U);  // of root, a and b
  EXPECT_EQ(watcher->changes, 0U);
}

// --- what is told in which order

/// A tree, and what it takes over: removal, insertion, and replacement on two levels.
struct Before {
  ItemPointer root =
      plainItem("root", {eventItem("a", "A", {eventItem("x", "X"), eventItem("y", "Y")}),
                         eventItem("b", "B"), eventItem("c", "C")});
  void merge() const {
    root->replaceChildren(
        items({eventItem("a", "A", {eventItem("x", "X"), eventItem("y", "other")}),
               eventItem("c", "other"), eventItem("d", "D")}));
  }
};

TEST(WatchedMerge, TellsOfEachStep) {
  Lines lines;
  const Before tree;
  const auto watcher = treeWatcher(lines);
  watchAll(tree.root, watcher);
  tree.merge();
  EXPECT_EQ(lines, (Lines{"w: will root removal {1}", "w: did root removal {1}",
                          "w: will root insertion {2}", "w: did root insertion {2}",
                          "w: will root replacement {0-1}", "w: will a replacement {1}",
                          "w: did a replacement {1}", "w: did root replacement {0-1}"}));
}

TEST(WatchedMerge, TellsWatchersBeforeObservers) {
  Lines lines;
  const Before tree;
  const auto recorder = std::make_shared<TreeRecorder>();
  tree.root->addObserver(recorder, "children", platform::ObservingOptions::none, nullptr);
  const auto watcher = treeWatcher(lines);
  watchAll(tree.root, watcher);
  recorder->then = [&] { lines.push_back("observer"); };
  tree.root->removeChildrenAtIndexes({0});
  EXPECT_EQ(lines, (Lines{"w: will root removal {0}", "w: did root removal {0}", "observer"}));
}

TEST(WatchedMerge, ChangesNothingOfWhatObserversHear) {
  const auto heard = [](bool isWatched) {
    Lines lines;
    const auto watcher = treeWatcher(lines);
    const Before tree;
    if (isWatched) {
      watchAll(tree.root, watcher, Watching::everyKey);
    }
    const auto recorder = TreeRecorder::make();
    const auto observer = KRAVTWVItemsObserver::init();
    observer->setDelegate(recorder);
    observer->setRoot(tree.root);
    for (const auto& item : tree.root->recursiveChildren()) {
      recorder->watch(item, "label");
      recorder->watch(item, "isExpandable");
    }
    if (isWatched) {
      watchAll(tree.root, watcher);
    }
    tree.merge();
    tree.root->setChildren(items({plainItem("z")}));
    EXPECT_EQ(lines.empty(), !isWatched);
    return recorder->take();
  };
  const Lines expected = heard(false);
  EXPECT_GE(expected.size(), 8U);
  EXPECT_EQ(heard(true), expected);
}

TEST(WatchedMerge, LeavesAnUnobservedTreeUnobserved) {
  Lines lines;
  const Before tree;
  watchAll(tree.root, treeWatcher(lines));
  EXPECT_FALSE(tree.root->isObserved());
  EXPECT_FALSE(test::isAnyObserved(tree.root->recursiveChildren()));
}

// --- events that are taken over without being announced

Value events(const char* nameOfB) {
  return Value::array({eventRecord("a", "A"), eventRecord("b", nameOfB), eventRecord("c", "C")});
}

TEST(WatchedMerge, OfPlainEventsTellsOfTheirSettings) {
  Lines lines;
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(events("B"));
  const auto watcher = treeWatcher(lines);
  watchAll(list->root(), watcher, Watching::everyKey);
  list->setEvents(events("Bee"));
  EXPECT_EQ(lines, (Lines{"w: will root replacement {1}", "w: set b representedObject",
                          "w: did root replacement {1}"}));
  EXPECT_EQ(outline(list->root()), "root=[a=A b=Bee c=C]");
  lines.clear();
  list->setEvents(events("Bee"));
  EXPECT_EQ(lines, Lines{});
}

TEST(WatchedMerge, OfPlainEventsTellsNoSettingsToWatchersOfOneKey) {
  Lines lines;
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(events("B"));
  const auto watcher = treeWatcher(lines);
  watchAll(list->root(), watcher);
  list->setEvents(events("Bee"));
  EXPECT_EQ(lines, (Lines{"w: will root replacement {1}", "w: did root replacement {1}"}));
}

TEST(WatchedMerge, OfPlainEventsTellsOfTheRepresentedObjectWhenThatIsWatched) {
  Lines lines;
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(events("B"));
  const auto watcher = treeWatcher(lines);
  watch(*list->root()->childAtIndex(1), watcher, "representedObject");
  list->setEvents(events("Bee"));
  EXPECT_EQ(lines, (Lines{"w: will b setting", "w: did b setting"}));
}

TEST(WatchedMerge, OfRowsTellsOfTheirEventsToo) {
  Lines lines;
  const auto store = std::make_shared<KRAVTWVEventStoreVexil>();
  const auto event = [](const char* uniqueID, const char* name) {
    return Value::dictionary(
        {{kTWEventUniqueID, uniqueID}, {kTWEventName, name}, {kTWEventDomain, "A"}});
  };
  store->setDomains(
      Value::array({test::domainRecord("A", "Attic"), test::domainRecord("B", "Barn")}));
  store->setEvents(Value::array({event("a1", "One"), event("a2", "Two")}));
  const auto watcher = treeWatcher(lines);
  watchAll(store->root(), watcher, Watching::everyKey);
  store->setEvents(Value::array({event("a1", "One"), event("a2", "other")}));
  EXPECT_EQ(lines, (Lines{"w: will root replacement {0}", "w: set A representedObject",
                          "w: will A replacement {1}", "w: set a2 representedObject",
                          "w: did A replacement {1}", "w: did root replacement {0}"}));
}

/// Calls a function when it is compared.
class Inquisitive : public platform::Object {
 public:
  explicit Inquisitive(std::function<void()> action) : _action(std::move(action)) {}
  [[nodiscard]] bool isEqual(const platform::Object& /*other*/) const override {
    _action();
    return false;
  }

 private:
  std::function<void()> _action;
};

TEST(WatchedMerge, DropsWhatIsOpenWhenAnObjectThrows) {
  Lines lines;
  const auto root = plainItem("root", {eventItem("a", "A", {eventItem("x", "X")})});
  int asked = 0;
  const auto object = [&] {
    return std::make_shared<Inquisitive>([&] {
      if (++asked == 2) {
        throw std::runtime_error("no");
      }
    });
  };
  root->childAtIndex(0)->childAtIndex(0)->setRepresentedObject(
      Value::dictionary({{kTWEventUniqueID, "x"}, {"guest", Value(object())}}));
  const auto watcher = treeWatcher(lines);
  watchAll(root, watcher);
  auto fresh = eventItem("x", "X");
  fresh->setRepresentedObject(
      Value::dictionary({{kTWEventUniqueID, "x"}, {"guest", Value(object())}}));
  EXPECT_THROW(root->replaceChildren(items({eventItem("a", "A", {fresh})})), std::runtime_error);
  EXPECT_EQ(lines, (Lines{"w: will root replacement {0}", "w: drop root replacement {0}"}));
}

}  // namespace
