// SPDX-License-Identifier: Apache-2.0
// Whether the library is at work, and who is called when it has ended that.
#include <gtest/gtest.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/Operation.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "Shelf.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::ObservingOptions;
using platform::detail::AfterOperation;
using platform::detail::Operation;
using test::Lines;
using test::Recorder;
using test::Shelf;

/// Writes its name when an operation is over.
class Waiting : public AfterOperation {
 public:
  Waiting(std::string name, Lines& lines) : _name(std::move(name)), _lines(lines) {}
  void wait() noexcept { waitForEnd(); }
  std::function<void()> then;

 private:
  void operationIsOver() noexcept override {
    _lines.push_back(_name + (Operation::isInProgress() ? " in the middle" : ""));
    if (const auto action = then) {
      action();
    }
  }

  std::string _name;
  Lines& _lines;
};

class TheEndOfAnOperation : public testing::Test {
 protected:
  std::unique_ptr<Waiting> waiting(const std::string& name) {
    return std::make_unique<Waiting>(name, lines);
  }
  Lines lines;
  std::unique_ptr<Waiting> a = waiting("a");
  std::unique_ptr<Waiting> b = waiting("b");
  std::unique_ptr<Waiting> c = waiting("c");
};

TEST_F(TheEndOfAnOperation, IsThatOfTheOutermostOne) {
  EXPECT_FALSE(Operation::isInProgress());
  {
    const Operation outer;
    EXPECT_TRUE(Operation::isInProgress());
    {
      const Operation inner;
      a->wait();
    }
    EXPECT_TRUE(Operation::isInProgress());
    EXPECT_EQ(lines, Lines{});
  }
  EXPECT_FALSE(Operation::isInProgress());
  EXPECT_EQ(lines, Lines{"a"});
  { const Operation next; }
  EXPECT_EQ(lines, Lines{"a"});
}

TEST_F(TheEndOfAnOperation, CallsInTheOrderOfWaitingAndEachOnce) {
  {
    const Operation operation;
    b->wait();
    a->wait();
    b->wait();
    c->wait();
  }
  EXPECT_EQ(lines, (Lines{"b", "a", "c"}));
}

TEST_F(TheEndOfAnOperation, ComesAlsoByAnException) {
  const auto fail = [&] {
    const Operation operation;
    a->wait();
    const Operation inner;
    throw std::runtime_error("no");
  };
  EXPECT_THROW(fail(), std::runtime_error);
  EXPECT_EQ(lines, Lines{"a"});
  EXPECT_FALSE(Operation::isInProgress());
}

TEST_F(TheEndOfAnOperation, ForgetsWhoIsDestroyedWhileWaiting) {
  for (auto* gone : {&a, &b, &c}) {
    lines.clear();
    a = waiting("a");
    b = waiting("b");
    c = waiting("c");
    Lines expected{"a", "b", "c", "d"};
    std::erase(expected, gone == &a ? "a" : gone == &b ? "b" : "c");
    const auto d = waiting("d");
    {
      const Operation operation;
      a->wait();
      b->wait();
      c->wait();
      gone->reset();
      d->wait();
    }
    EXPECT_EQ(lines, expected);
  }
}

TEST_F(TheEndOfAnOperation, ForgetsTheOnlyOneThatWaited) {
  {
    const Operation operation;
    a->wait();
    a.reset();
    b->wait();
    b.reset();
  }
  EXPECT_EQ(lines, Lines{});
}

TEST_F(TheEndOfAnOperation, MayDestroyThoseThatWait) {
  a->then = [&] {
    b.reset();
    a.reset();
  };
  {
    const Operation operation;
    a->wait();
    b->wait();
    c->wait();
  }
  EXPECT_EQ(lines, (Lines{"a", "c"}));
}

TEST_F(TheEndOfAnOperation, CallsNobodyWithinAnotherCall) {
  int calls = 0;
  int depth = 0;
  a->then = [&] {
    EXPECT_EQ(++depth, 1);
    if (++calls < 1'000) {
      const Operation operation;
      EXPECT_TRUE(Operation::isInProgress());
      a->wait();
      b->wait();
    }
    --depth;
  };
  b->then = [&] { EXPECT_EQ(depth, 0); };
  {
    const Operation operation;
    a->wait();
  }
  EXPECT_EQ(calls, 1'000);
  EXPECT_EQ(std::ranges::count(lines, "a"), 1'000);
  // It stands behind "a" at first, then before it, and so on: "a a b a a b".
  EXPECT_EQ(std::ranges::count(lines, "b"), 500);
}

TEST_F(TheEndOfAnOperation, IsThatOfTheNextOneForWhoWaitsWithoutOne) {
  a->wait();
  EXPECT_EQ(lines, Lines{});
  {
    const Operation operation;
    EXPECT_EQ(lines, Lines{});
  }
  EXPECT_EQ(lines, Lines{"a"});
}

TEST_F(TheEndOfAnOperation, BelongsToItsThread) {
  const Operation operation;
  a->wait();
  std::thread([&] {
    EXPECT_FALSE(Operation::isInProgress());
    const Operation other;
  }).join();
  EXPECT_EQ(lines, Lines{});
}

TEST_F(TheEndOfAnOperation, NeedsNoMemory) {
  lines.reserve(10);
  EXPECT_EQ(test::allocationsOf([&] {
              const Operation operation;
              a->wait();
              b->wait();
            }),
            0U);
}

TEST_F(TheEndOfAnOperation, ComesAfterTheLastNoticeOfAChange) {
  const auto shelf = Shelf::make();
  const auto first = Recorder::make("first", lines);
  const auto second = Recorder::make("second", lines);
  shelf->addObserver(first, "label", ObservingOptions::none, nullptr);
  shelf->addObserver(second, "label", ObservingOptions::none, nullptr);
  first->then = [&] {
    EXPECT_TRUE(Operation::isInProgress());
    a->wait();
  };
  shelf->setLabel("a");
  EXPECT_EQ(lines, (Lines{"first: label setting", "second: label setting", "a"}));
  second->then = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(shelf->setLabel("a"), std::runtime_error);
  EXPECT_EQ(lines.back(), "a");
  EXPECT_EQ(lines.size(), 6U);
}

}  // namespace
