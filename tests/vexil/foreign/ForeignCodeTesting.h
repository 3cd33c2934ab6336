// SPDX-License-Identifier: Apache-2.0
// What tests of a host's own code in the middle of operations share.
#pragma once

#include "tests/vexil/ItemTesting.h"
#include "tests/vexil/collections/CollectionTesting.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// What a host's code does once: at call number `skipped + 1`.
class Turn {
 public:
  void does(std::function<void()> action, int skipped = 0) {
    _action = std::move(action);
    _skipped = skipped;
  }
  void comes() {
    if (_action && _skipped-- == 0) {
      std::exchange(_action, nullptr)();
    }
  }
  [[nodiscard]] bool hasCome() const { return !_action; }

 private:
  std::function<void()> _action;
  int _skipped = 0;
};

/// Part of a record. It equals all of its class. Its turn comes when it is asked for that or a
/// hash.
class Guest : public vexil::platform::Object {
 public:
  explicit Guest(Turn& asked) : _asked(asked) {}
  [[nodiscard]] bool isEqual(const Object& other) const override {
    _asked.comes();
    return dynamic_cast<const Guest*>(&other) != nullptr;
  }
  [[nodiscard]] std::size_t hash() const override {
    _asked.comes();
    return 1;
  }

 private:
  Turn& _asked;
};

class ForeignCode : public testing::Test {
 protected:
  /// An event that refers to a guest; each call makes another guest, which equals all others.
  vexil::platform::Value visited(int identifier, const char* domain = "A") {
    return vexil::platform::Value::dictionary({{kTWEventUniqueID, identifier},
                                               {kTWEventName, "name " + std::to_string(identifier)},
                                               {kTWEventDomain, domain},
                                               {"guest", std::make_shared<Guest>(turn)}});
  }
  vexil::platform::Value visitedEvents(int count) {
    std::vector<vexil::platform::Value> events;
    for (int i = 1; i <= count; ++i) {
      events.push_back(visited(i));
    }
    return records(std::move(events));
  }
  /// A plain item that represents a guest.
  ItemPointer visitedItem(const char* uniqueID, const KRAVTWVItemArray& children = {}) {
    auto item = KRAVTWVItemVexil::itemWithRepresentedObject(std::make_shared<Guest>(turn));
    item->setUniqueID(uniqueID);
    *item->children() = children;
    return item;
  }

  /// Performs an operation that may throw `RangeError` and nothing else. Returns whether the host's
  /// code had its turn.
  template <class Operation>
  bool hasItsTurnIn(const Operation& operation) {
    try {
      operation();
    } catch (const vexil::platform::RangeError&) {
    }
    const bool hasCome = turn.hasCome();
    turn.does(nullptr);
    return hasCome;
  }

  /// Calls `round` with the number of calls to skip, 0, 1 and so on, until it returns false.
  template <class Round>
  static void atEveryCall(const Round& round) {
    int skipped = 0;
    while (round(skipped)) {
      ++skipped;
    }
    EXPECT_GT(skipped, 0) << "the host's code never ran";
  }

  Turn turn;
};

}  // namespace test
