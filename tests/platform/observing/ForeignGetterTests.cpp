// SPDX-License-Identifier: Apache-2.0
// What may happen during an announcement in getters, and in the overrides that say what follows
// from what: they change the object, withdraw, register, let go of the object, throw.
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>

#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::ChangeKind;
using platform::ChangeRecord;
using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::ObservingOptions;
using platform::Value;
using test::Lines;
using test::Recorder;

/// Numbers, and three keys that follow from them. Each getter does what the host asked of it before
/// it answers.
class Host : public platform::Observable {
 public:
  static std::shared_ptr<Host> make() { return std::make_shared<Host>(); }

  [[nodiscard]] Value numbers() const { return told("numbers", Value::array(_numbers)); }
  [[nodiscard]] Value count() const { return told("count", _numbers.size()); }
  [[nodiscard]] Value first() const {
    return told("first", _numbers.empty() ? Value() : _numbers[0]);
  }

  void insert(std::size_t index, int number) {
    auto change = willChangeValuesAtIndexesForKey(ChangeKind::insertion, {index}, "numbers");
    ASSERT_LE(index, _numbers.size());
    _numbers.insert(_numbers.begin() + static_cast<std::ptrdiff_t>(index), number);
    didChangeValuesAtIndexesForKey(std::move(change));
  }
  void remove(std::size_t index) {
    auto change = willChangeValuesAtIndexesForKey(ChangeKind::removal, {index}, "numbers");
    _numbers.erase(_numbers.begin() + static_cast<std::ptrdiff_t>(index));
    didChangeValuesAtIndexesForKey(std::move(change));
  }
  void setAll(std::vector<Value> numbers) {
    auto change = willChangeValueForKey("numbers");
    _numbers = std::move(numbers);
    didChangeValueForKey(std::move(change));
  }

  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const Key& key) const override {
    if (const auto asked = std::exchange(whenAsked, nullptr)) {
      asked();
    }
    return key.text() == "count" || key.text() == "first" ? std::set<std::string>{"numbers"}
                                                          : std::set<std::string>();
  }

  std::function<void(const std::string&)> whenRead;  // called with the key
  mutable std::function<void()> whenAsked;           // once
  mutable std::vector<std::string> reads;

 protected:
  [[nodiscard]] const KeyTable& keyTable() const override {
    static const KeyTable table(nullptr, {KeyAccess::readOnly<&Host::numbers>("numbers"),
                                          KeyAccess::readOnly<&Host::count>("count"),
                                          KeyAccess::readOnly<&Host::first>("first")});
    return table;
  }

 private:
  [[nodiscard]] Value told(const std::string& key, Value value) const {
    reads.push_back(key);
    if (const auto read = whenRead) {
      read(key);
    }
    return value;
  }
  std::vector<Value> _numbers{1, 2, 3};
};

class ForeignGetter : public testing::Test {
 protected:
  std::shared_ptr<Recorder> add(const char* name, const char* key,
                                ObservingOptions options = ObservingOptions::both) {
    auto observer = Recorder::make(name, notices);
    host->addObserver(observer, key, options, nullptr);
    return observer;
  }
  /// Has the next read of `key` do `what`.
  void onceRead(const std::string& key, std::function<void()> what) {
    host->whenRead = [this, key, what = std::move(what)](const std::string& read) {
      if (read == key) {
        host->whenRead = nullptr;
        what();
      }
    };
  }
  using Reads = std::vector<std::string>;

  Lines notices;
  std::shared_ptr<Host> host = Host::make();
};

TEST_F(ForeignGetter, OfADependentKeyIsReadBeforeTheChangingKeyAndAfterItWhenItHasChanged) {
  // So that none can come between a value that is told and the change itself.
  const auto one = add("one", "numbers");
  const auto two = add("two", "count");
  const auto three = add("three", "first");
  host->setAll({7});
  EXPECT_EQ(host->reads, (Reads{"count", "first", "numbers", "numbers", "count", "first"}));
}

TEST_F(ForeignGetter, MayChangeTheObjectBeforeTheOldValueIsRead) {
  const auto one = add("one", "numbers");
  const auto two = add("two", "count");
  onceRead("count", [&] { host->setAll({5, 6}); });
  host->setAll({7});
  EXPECT_EQ(
      notices,
      (Lines{"one: numbers setting old=[1, 2, 3] new=[5, 6]", "two: count setting old=3 new=2",
             "one: numbers setting old=[5, 6] new=[7]", "two: count setting old=3 new=1"}));
}

TEST_F(ForeignGetter, ThatTakesAwayWhatIsToBeRemovedFailsTheRemovalUnannounced) {
  const auto one = add("one", "numbers");
  const auto two = add("two", "count");
  onceRead("count", [&] { host->remove(2); });
  EXPECT_THROW(host->remove(2), platform::RangeError);
  EXPECT_EQ(notices, (Lines{"one: numbers removal {2} old=[3]", "two: count setting old=3 new=2"}));
}

TEST_F(ForeignGetter, MayChangeTheObjectAgainBeforeAllNewValuesAreRead) {
  const auto one = add("one", "numbers");
  const auto two = add("two", "count", ObservingOptions::newValue);
  onceRead("count", [&] { host->remove(0); });
  host->insert(0, 9);
  // The notice of the nested change comes at once, before that of the outer change. Neither is
  // lost. The notice has the number that was inserted, although it has gone.
  EXPECT_EQ(notices, (Lines{"one: numbers removal {0} old=[9]", "two: count setting new=3",
                            "one: numbers insertion {0} new=[9]", "two: count setting new=4"}));
}

TEST_F(ForeignGetter, ThatThrowsForAnOldValueKeepsTheChangeFromBeingMade) {
  const auto one = add("one", "numbers", ObservingOptions::none);
  const auto two = add("two", "count");
  onceRead("count", [] { throw std::runtime_error("count"); });
  EXPECT_THROW(host->insert(0, 9), std::runtime_error);
  EXPECT_EQ(notices, Lines());
  EXPECT_EQ(host->count(), 3);
  host->insert(0, 9);
  EXPECT_EQ(notices, (Lines{"one: numbers insertion {0}", "two: count setting old=3 new=4"}));
}

TEST_F(ForeignGetter, ThatThrowsForANewValueKeepsOnlyThisValueFromBeingTold) {
  const auto one = add("one", "numbers");
  const auto two = add("two", "count", ObservingOptions::newValue);
  const auto three = add("three", "numbers", ObservingOptions::none);
  const auto four = add("four", "first");
  onceRead("numbers", [&] { onceRead("count", [] { throw std::runtime_error("count"); }); });
  EXPECT_THROW(host->insert(0, 9), std::runtime_error);
  EXPECT_EQ(notices, (Lines{"one: numbers insertion {0} new=[9]", "three: numbers insertion {0}",
                            "four: first setting old=1 new=9"}));
  notices.clear();
  host->remove(0);
  EXPECT_EQ(notices, (Lines{"one: numbers removal {0} old=[9]", "two: count setting new=3",
                            "three: numbers removal {0}", "four: first setting old=9 new=1"}));
}

TEST_F(ForeignGetter, ThatThrowsAfterAnObserverDidGivesWayToIt) {
  const auto one = add("one", "numbers", ObservingOptions::none);
  const auto two = add("two", "count");
  one->then = [] { throw std::logic_error("observer"); };
  onceRead("count", [&] { onceRead("count", [] { throw std::runtime_error("count"); }); });
  EXPECT_THROW(host->insert(0, 9), std::logic_error);
  EXPECT_EQ(notices, (Lines{"one: numbers insertion {0}"}));
}

TEST_F(ForeignGetter, MayWithdrawAnyoneWhileValuesAreRead) {
  auto one = add("one", "numbers");
  auto two = add("two", "count");
  auto three = add("three", "numbers");
  onceRead("count", [&] {
    host->removeObserver(one, "numbers", nullptr);
    one.reset();
    onceRead("count", [&] {
      host->removeObserver(two, "count", nullptr);
      two.reset();
    });
  });
  host->insert(0, 9);
  EXPECT_EQ(notices, (Lines{"three: numbers insertion {0} new=[9]"}));
}

TEST_F(ForeignGetter, MayLetGoOfTheObject) {
  const auto one = add("one", "numbers");
  const auto two = add("two", "count");
  const std::weak_ptr<Host> watch = host;
  Host* const raw = host.get();
  onceRead("count", [&] { host.reset(); });
  raw->setAll({7});
  EXPECT_EQ(notices, (Lines{"one: numbers setting old=[1, 2, 3] new=[7]",
                            "two: count setting old=3 new=1"}));
  EXPECT_TRUE(watch.expired());
}

// --- the override that is asked what a key follows from

TEST_F(ForeignGetter, AskedWhatAKeyFollowsFromMayWithdrawAllObservers) {
  // Keys that no other test uses, so that the answers are not known.
  auto one = add("one", "a key of its own", ObservingOptions::none);
  auto two = add("two", "another key of its own", ObservingOptions::none);
  host->whenAsked = [&] {
    host->removeObserver(one, "a key of its own", nullptr);
    host->removeObserver(two, "another key of its own", nullptr);
    one.reset();
    two.reset();
  };
  host->setAll({7});
  EXPECT_EQ(host->whenAsked, nullptr) << "it was asked";
  EXPECT_FALSE(host->isObserved());
  EXPECT_EQ(notices, Lines());
}

TEST_F(ForeignGetter, AskedWhatAKeyFollowsFromMayRegisterOthersForTheNextChange) {
  const auto one = add("one", "a third key of its own", ObservingOptions::none);
  std::shared_ptr<Recorder> two;
  host->whenAsked = [&] { two = add("two", "numbers", ObservingOptions::newValue); };
  host->setAll({7});
  EXPECT_EQ(notices, Lines());
  host->setAll({8});
  EXPECT_EQ(notices, Lines{"two: numbers setting new=[8]"});
}

TEST_F(ForeignGetter, AskedWhatAKeyFollowsFromMayChangeOthersOfItsClass) {
  const auto one = add("one", "a fourth key of its own", ObservingOptions::none);
  const auto two = add("two", "numbers", ObservingOptions::newValue);
  const auto other = Host::make();
  for (int i = 0; i < 5'000; ++i) {
    other->addObserver(one, "key " + std::to_string(i), ObservingOptions::none, nullptr);
  }
  host->whenAsked = [&] { other->setAll({1}); };  // which asks for each of its keys
  host->setAll({7});
  EXPECT_EQ(notices, Lines{"two: numbers setting new=[7]"});
}

// --- objects that are going

/// Announces from the destructor of a class that has no keys of its own to tell.
class Going : public platform::Observable {
 public:
  ~Going() override {
    auto change = willChangeValueForKey("state");
    didChangeValueForKey(std::move(change));
  }
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const Key& key) const override {
    return key.text() == "summary" ? std::set<std::string>{"state"} : std::set<std::string>();
  }
};

class Gone : public Going {
 public:
  [[nodiscard]] std::string state() const { return "here"; }

 protected:
  [[nodiscard]] const KeyTable& keyTable() const override {
    static const KeyTable table(nullptr, {KeyAccess::readOnly<&Gone::state>("state"),
                                          KeyAccess::readOnly<&Gone::state>("summary")});
    return table;
  }
};

TEST(ObservedObject, MayAnnounceInTheDestructorOfAnAbstractBaseClassAndNobodyHears) {
  Lines notices;
  const auto observer = Recorder::make("heard", notices);
  auto object = std::make_shared<Gone>();
  object->addObserver(observer, "state", ObservingOptions::both, nullptr);
  object->addObserver(observer, "summary", ObservingOptions::both, nullptr);
  object.reset();
  EXPECT_EQ(notices, Lines());
}

}  // namespace
