// SPDX-License-Identifier: Apache-2.0
// Each public operation that changes a tree in steps is one operation for whoever waits for its
// end: it is in progress while foreign code runs in it, and over once, when the tree is whole.
#include "tests/support/WatchRecorder.h"
#include "tests/vexil/ItemTesting.h"

#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/detail/Operation.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>

namespace platform = vexil::platform;

namespace {

using platform::NetService;
using platform::Value;
using platform::detail::AfterOperation;
using platform::detail::Operation;
using platform::detail::Watching;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::plainItem;
using test::WatchRecorder;

/// What foreign code does in the middle.
std::function<void()> inTheMiddle;

void runInTheMiddle() {
  if (const auto action = inTheMiddle) {
    action();
  }
}

class Guest : public platform::Object {
 public:
  [[nodiscard]] bool isEqual(const Object& other) const override {
    runInTheMiddle();
    return dynamic_cast<const Guest*>(&other) != nullptr;
  }
  [[nodiscard]] std::size_t hash() const override {
    runInTheMiddle();
    return 1;
  }
};

class GuestService : public NetService {
 public:
  explicit GuestService(const char* name) : NetService(name, "_t.", "local.") {}
  [[nodiscard]] bool isEqual(const Object& other) const override {
    runInTheMiddle();
    return NetService::isEqual(other);
  }
  [[nodiscard]] std::size_t hash() const override {
    runInTheMiddle();
    return NetService::hash();
  }
};

Value guest() {
  return {std::make_shared<Guest>()};
}

/// Records of every sort at once, so that they fit every list.
Value record(const char* uniqueID, const char* name) {
  return Value::dictionary({{kTWEventUniqueID, uniqueID},
                            {kTWEventName, name},
                            {kTWDomainUniqueID, uniqueID},
                            {kTWDomainName, name},
                            {kTWActiveEventActiveID, uniqueID},
                            {kTWQueuedTriggerTriggerID, uniqueID},
                            {"guest", guest()}});
}
Value records(const char* nameOfB = "One") {
  return Value::array({record("a", "One"), record("b", nameOfB)});
}

ItemPointer guestItem(const char* uniqueID) {
  return test::plainItemWith(uniqueID, guest());
}

struct Row {
  const char* name;
  /// Prepares, and returns the operation.
  std::function<std::function<void()>()> prepare;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

/// An operation on a list, after an operation that fills it.
template <class Collection, class Fill, class Change>
Row onList(const char* name, Fill fill, Change change) {
  return {name, [=] {
            auto list = std::make_shared<Collection>();
            fill(*list);
            return [=] { change(*list); };
          }};
}

class Waiting : public AfterOperation {
 public:
  void wait() noexcept { waitForEnd(); }
  int calls = 0;

 private:
  void operationIsOver() noexcept override {
    EXPECT_FALSE(Operation::isInProgress());
    ++calls;
  }
};

class OperationScope : public testing::TestWithParam<Row> {
 protected:
  ~OperationScope() override { inTheMiddle = nullptr; }

  Waiting waiting;
  int asked = 0;
};

TEST_P(OperationScope, IsOneHoweverOftenForeignCodeRuns) {
  const auto operate = GetParam().prepare();
  inTheMiddle = [this] {
    ++asked;
    EXPECT_TRUE(Operation::isInProgress());
    EXPECT_EQ(waiting.calls, 0);
    waiting.wait();
  };
  operate();
  EXPECT_GT(asked, 0);
  EXPECT_EQ(waiting.calls, 1);
  EXPECT_FALSE(Operation::isInProgress());
}

TEST_P(OperationScope, EndsByAnException) {
  const auto operate = GetParam().prepare();
  inTheMiddle = [this] {
    ++asked;
    waiting.wait();
    throw std::runtime_error("no");
  };
  EXPECT_THROW(operate(), std::runtime_error);
  EXPECT_EQ(asked, 1);
  EXPECT_EQ(waiting.calls, 1);
  EXPECT_FALSE(Operation::isInProgress());
}

TEST_P(OperationScope, IsPartOfTheOneAround) {
  const auto operate = GetParam().prepare();
  inTheMiddle = [this] { waiting.wait(); };
  {
    const Operation around;
    operate();
    EXPECT_EQ(waiting.calls, 0);
  }
  EXPECT_EQ(waiting.calls, 1);
}

std::shared_ptr<NetService> service(const char* name) {
  return std::make_shared<GuestService>(name);
}
void addOne(KRAVTWVServicesVexil& list) {
  list.addService(service("one"));
  list.addService(service("two"));
}

/// An item with a child, and an operation on it.
template <class Change>
Row onItem(const char* name, Change change) {
  return {name, [=] {
            const auto root = plainItem("root");
            root->addChild(guestItem("a"));
            root->addChild(plainItem("b"));
            return [=] { change(*root); };
          }};
}

using Engine = KRAVTWVEngineVexil;
using Events = KRAVTWVEventsVexil;
using Services = KRAVTWVServicesVexil;
using Store = KRAVTWVEventStoreVexil;

INSTANTIATE_TEST_SUITE_P(
    All, OperationScope,
    testing::Values(
        onList<Events>(
            "setEvents", [](auto& list) { list.setEvents(records()); },
            [](auto& list) { list.setEvents(records("Two")); }),
        onList<Store>(
            "setEventsOfStore", [](auto& list) { list.setEvents(records()); },
            [](auto& list) { list.setEvents(records("Two")); }),
        onList<Store>(
            "setDomains", [](auto& list) { list.setDomains(records()); },
            [](auto& list) { list.setDomains(records()); }),
        onList<Engine>(
            "setActive", [](auto& list) { list.setActive(records()); },
            [](auto& list) { list.setActive(records()); }),
        onList<Engine>(
            "setPending", [](auto& list) { list.setPending(records()); },
            [](auto& list) { list.setPending(records()); }),
        onList<Engine>(
            "setAvailable", [](auto& list) { list.setAvailable(records()); },
            [](auto& list) { list.setAvailable(records()); }),
        onList<Engine>(
            "updateItemsForEngine", [](auto& list) { list.setActiveEvents(records()); },
            [](auto& list) { list.updateItemsForEngine(); }),
        onList<Events>(
            "replaceRootChildren", [](auto& list) { list.root()->addChild(guestItem("a")); },
            [](auto& list) { list.replaceRootChildren(items({guestItem("a")})); }),
        onList<Services>("addService", addOne, [](auto& list) { list.addService(service("two")); }),
        onList<Services>("addServices", addOne,
                         [](auto& list) {
                           list.addServices({service("two"), service("three")});
                         }),
        onList<Services>("removeService", addOne,
                         [](auto& list) { list.removeService(service("two")); }),
        onList<Services>("removeServices", addOne,
                         [](auto& list) { list.removeServices({service("two")}); }),
        onItem("addChild", [](auto& root) { root.addChild(guestItem("c")); }),
        onItem("addChildren",
               [](auto& root) {
                 root.addChildren({guestItem("c"), guestItem("d")});
               }),
        onItem("replaceChildren",
               [](auto& root) {
                 root.replaceChildren(items({guestItem("a"), plainItem("b")}));
               })),
    [](const auto& row) { return std::string(row.param.name); });

// --- operations that run no foreign code, but announce

class WatchedOperation : public testing::Test {
 protected:
  WatchedOperation() {
    watcher->then = [this] {
      isInProgress = isInProgress && Operation::isInProgress();
      EXPECT_EQ(waiting.calls, 0) << lines.back();
      waiting.wait();
    };
  }
  void watch(platform::Observable& object) {
    test::watch(object, watcher, "children", Watching::everyKey);
  }
  void expectOneOperation(std::size_t told) {
    EXPECT_EQ(lines.size(), told);
    EXPECT_TRUE(isInProgress);
    EXPECT_EQ(waiting.calls, 1);
  }

  Lines lines;
  Waiting waiting;
  bool isInProgress = true;
  std::shared_ptr<WatchRecorder> watcher = WatchRecorder::make("w", lines);
  ItemPointer root = plainItem("root", {plainItem("a"), plainItem("b")});
};

TEST_F(WatchedOperation, SetsChildren) {
  watch(*root);
  root->setChildren(items({}));
  expectOneOperation(2);
}

TEST_F(WatchedOperation, RemovesChildren) {
  watch(*root);
  root->removeChildrenAtIndexes({0});
  expectOneOperation(2);
}

TEST_F(WatchedOperation, AddsChildrenWhoseParentsAreToldOneByOne) {
  const auto c = plainItem("c");
  const auto d = plainItem("d");
  watch(*c);
  watch(*d);
  root->addChildren({c, d});
  expectOneOperation(2);
}

TEST_F(WatchedOperation, AddsAChild) {
  const auto c = plainItem("c");
  watch(*c);
  root->addChild(c);
  expectOneOperation(1);
}

TEST_F(WatchedOperation, MergesInSteps) {
  watch(*root);
  watch(*root->childAtIndex(1));
  root->replaceChildren(items({test::plainItemWith("b", "other"), plainItem("c")}));
  expectOneOperation(7);  // removal, insertion, replacement, and what is represented
}

TEST_F(WatchedOperation, SetsAndMergesAListOfServices) {
  const auto list = std::make_shared<Services>();
  addOne(*list);
  watch(*list);
  watch(*list->root());
  list->updateItemsForServices();
  EXPECT_EQ(lines, Lines{});
  list->removeServices({service("one"), service("two")});
  expectOneOperation(2);
}

TEST_F(WatchedOperation, SetsAndMergesRecords) {
  const auto list = std::make_shared<Events>();
  list->setEvents(records());
  watch(*list);
  watch(*list->root());
  list->setEvents(Value::array({}));
  expectOneOperation(3);  // the sorted events, then the removal
}

TEST_F(WatchedOperation, SetsAndMergesDomains) {
  const auto list = std::make_shared<Store>();
  list->setDomains(records());
  watch(*list);
  watch(*list->root());
  list->setDomains(Value::array({}));
  expectOneOperation(3);
}

TEST_F(WatchedOperation, SetsAndMergesWhatIsActive) {
  const auto list = std::make_shared<Engine>();
  list->setActive(records());
  watch(*list);
  watch(*list->root());
  list->setActive(Value::array({}));
  expectOneOperation(3);
}

TEST_F(WatchedOperation, RebuildsRootChildren) {
  const auto list = std::make_shared<Events>();
  list->setEvents(records());
  watch(*list->root());
  list->rebuildRootChildren();
  expectOneOperation(2);
}

}  // namespace
