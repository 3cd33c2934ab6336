// SPDX-License-Identifier: Apache-2.0
// Watchers beside observers, who notice nothing of them.
#include <gtest/gtest.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/Watcher.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "WatcherTesting.h"
#include "tests/support/AllocationCounter.h"

namespace platform = vexil::platform;

namespace {

using platform::ChangeKind;
using platform::ContextToken;
using platform::IndexSet;
using platform::Key;
using platform::ObservingOptions;
using platform::Value;
using platform::detail::Watching;
using test::Lines;
using test::Recorder;
using test::Shelf;
using test::unwatch;
using test::watch;
using test::WatchRecorder;

const Key books("books");
const Key label("label");
const Key spine("spine");

class AWatcherBesideObservers : public test::WatchedShelf {};

/// Writes a line when a getter is asked.
class LoudShelf : public Shelf {
 public:
  explicit LoudShelf(Lines& lines) : _lines(lines) {}
  std::function<void()> whenAsked = [] {};

 protected:
  [[nodiscard]] Value valuesAtIndexesForKey(const IndexSet& indexes,
                                            const Key& key) const override {
    _lines.push_back("asked for " + std::string(key.text()));
    whenAsked();
    return Shelf::valuesAtIndexesForKey(indexes, key);
  }

 private:
  Lines& _lines;
};

TEST_F(AWatcherBesideObservers, IsToldAfterTheGettersOfWillChangeAndBeforeThoseOfDidChange) {
  const auto loud = std::make_shared<LoudShelf>(lines);
  loud->appendSilently("a");
  loud->addObserver(observer, books, ObservingOptions::both, nullptr);
  watch(*loud, one, books);
  loud->replaceBook(0, "b");
  EXPECT_EQ(heard(),
            (Lines{"asked for books", "one: will replacement {0}", "one: did replacement {0}",
                   "asked for books", "observer: books replacement {0} old=[\"a\"] new=[\"b\"]"}));
  EXPECT_FALSE(one->hasSeenValues);
}

TEST_F(AWatcherBesideObservers, OfEveryKeyIsToldBesideTheObserversOfThatKey) {
  watch(*shelf, one, books, Watching::everyKey);
  shelf->addObserver(observer, spine, ObservingOptions::newValue, nullptr);
  shelf->setLabel("a");
  EXPECT_EQ(heard(), (Lines{"one: set label", "observer: spine setting new=\"[a]\""}));
}

TEST_F(AWatcherBesideObservers, IsToldAlsoOfWhatConcernsNoObserver) {
  shelf->addObserver(observer, spine, ObservingOptions::both, nullptr);
  watch(*shelf, one, books, Watching::everyKey);
  shelf->setLabel("a");  // asks the class about "spine"
  heard();
  shelf->insertBook(0, "a");
  shelf->setAllBooks(Value::array({}));
  EXPECT_EQ(heard(), (Lines{"one: will insertion {0}", "one: did insertion {0}",
                            "one: will setting", "one: did setting"}));
}

/// Writes which keys its class is asked about.
class AskedShelf : public Shelf {
 public:
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const Key& key) const override {
    asked.emplace_back(key.text());
    return Shelf::keyPathsForValuesAffectingValueForKey(key);
  }
  mutable Lines asked;
};

TEST_F(AWatcherBesideObservers, LetsNobodyAskAboutItsKeyBesideObservers) {
  const auto askedShelf = std::make_shared<AskedShelf>();
  const Key text("label");
  askedShelf->addObserver(observer, books, ObservingOptions::none, nullptr);
  askedShelf->didChangeValueForKey(askedShelf->willChangeValueForKey(text));
  EXPECT_EQ(std::exchange(askedShelf->asked, {}), Lines{"books"});
  watch(*askedShelf, one, "summary");  // depends on both
  EXPECT_EQ(test::allocationsOf(
                [&] { askedShelf->didChangeValueForKey(askedShelf->willChangeValueForKey(text)); }),
            0U)
      << "it concerns nobody";
  askedShelf->didChangeValueForKey(askedShelf->willChangeValueForKey(books));
  EXPECT_EQ(askedShelf->asked, Lines{});
  EXPECT_EQ(heard(), Lines{"observer: books setting"});
}

TEST_F(AWatcherBesideObservers, IsToldOfNothingWhenAGetterThrowsBeforeTheChange) {
  const auto loud = std::make_shared<LoudShelf>(lines);
  loud->appendSilently("a");
  loud->addObserver(observer, books, ObservingOptions::both, nullptr);
  watch(*loud, one, books);
  loud->whenAsked = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(loud->removeBook(0), std::runtime_error);
  EXPECT_EQ(heard(), Lines{"asked for books"});
}

TEST_F(AWatcherBesideObservers, IsToldOfAnEndWhenAGetterOrAnObserverThrowsAfterTheChange) {
  const auto loud = std::make_shared<LoudShelf>(lines);
  loud->addObserver(observer, books, ObservingOptions::newValue, nullptr);
  watch(*loud, one, books);
  loud->whenAsked = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(loud->insertBook(0, "a"), std::runtime_error);
  EXPECT_EQ(heard(), (Lines{"one: will insertion {0}", "one: did insertion {0}", "asked for books",
                            "observer: books insertion {0}"}));
  loud->whenAsked = [] {};
  observer->then = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(loud->insertBook(0, "a"), std::runtime_error);
  EXPECT_EQ(heard(), (Lines{"one: will insertion {0}", "one: did insertion {0}", "asked for books",
                            "observer: books insertion {0} new=[\"a\"]"}));
}

TEST_F(AWatcherBesideObservers, IsToldOfADropBesideObservers) {
  shelf->addObserver(observer, books, ObservingOptions::both, nullptr);
  shelf->appendSilently("a");
  watch(*shelf, one, books);
  { const auto change = shelf->willChangeValuesAtIndexesForKey(ChangeKind::removal, {0}, books); }
  EXPECT_EQ(heard(), (Lines{"one: will removal {0}", "one: drop removal {0}"}));
  EXPECT_FALSE(one->hasSeenValues);
}

TEST_F(AWatcherBesideObservers, ThatComesInBetweenIsToldOfTheEnd) {
  const auto loud = std::make_shared<LoudShelf>(lines);
  loud->appendSilently("a");
  loud->addObserver(observer, books, ObservingOptions::oldValue, nullptr);
  loud->whenAsked = [&] { watch(*loud, one, books); };
  {
    auto change = loud->willChangeValuesAtIndexesForKey(ChangeKind::removal, {0}, books);
    watch(*loud, two, books);
    heard();
    loud->didChangeValuesAtIndexesForKey(std::move(change));
  }
  auto told = heard();
  ASSERT_EQ(told.size(), 3U);
  std::sort(told.begin(), told.begin() + 2);
  EXPECT_EQ(told, (Lines{"one: did removal {0}", "two: did removal {0}",
                         "observer: books removal {0} old=[\"a\"]"}));
}

TEST_F(AWatcherBesideObservers, ThatComesOrGoesInBetweenIsToldOnlyOfWhatItIsThereFor) {
  watch(*shelf, one, books);
  auto change = shelf->willChangeValueForKey(books);
  watch(*shelf, two, books);
  unwatch(*shelf, one, books);
  shelf->didChangeValueForKey(std::move(change));
  EXPECT_EQ(heard(), (Lines{"one: will setting", "two: did setting"}));
  auto setting = shelf->willChangeValueForKey(label);  // concerns nobody
  watch(*shelf, one, label);
  shelf->didChangeValueForKey(std::move(setting));
  EXPECT_EQ(heard(), Lines{});
}

TEST_F(AWatcherBesideObservers, MayWithdrawWhenItIsTold) {
  watch(*shelf, one, books);
  watch(*shelf, two, books);
  const auto withdrawBoth = [&] {
    unwatch(*shelf, one, books);
    unwatch(*shelf, two, books);
  };
  one->then = withdrawBoth;
  two->then = withdrawBoth;
  shelf->insertBook(0, "a");
  auto told = heard();
  std::ranges::sort(told);
  EXPECT_EQ(told, (Lines{"one: will insertion {0}", "two: will insertion {0}"}));
}

/// What an observer hears of many things that are done to a shelf. `beside` is called between the
/// registrations and in the middle of deliveries.
Lines heardByObservers(const std::function<void(Shelf&)>& beside) {
  static constexpr ContextToken context("a context");
  Lines heard;
  const auto shelf = Shelf::make();
  const auto first = Recorder::make("first", heard);
  const auto second = Recorder::make("second", heard);
  const auto fleeting = Recorder::make("fleeting", heard);
  auto gone = Recorder::make("gone", heard);
  const auto doAll = [&] {
    shelf->setLabel("a");
    shelf->insertBook(0, "a");
    shelf->insertBook(1, "b");
    shelf->replaceBook(0, "c");
    shelf->removeBook(1);
    shelf->setAllBooks(Value::array({"d", "e"}));
    { const auto dropped = shelf->willChangeValueForKey(books); }
  };
  beside(*shelf);
  shelf->addObserver(first, books, ObservingOptions::both, &context);
  beside(*shelf);
  shelf->addObserver(fleeting, "summary", ObservingOptions::newValue, nullptr);
  shelf->addObserver(gone, books, ObservingOptions::none, nullptr);
  beside(*shelf);
  shelf->addObserver(second, "heading", ObservingOptions::oldValue, nullptr);
  beside(*shelf);
  doAll();
  gone.reset();
  int turns = 0;
  first->then = [&] {
    beside(*shelf);
    if (++turns == 2) {
      shelf->removeObserver(fleeting, "summary", nullptr);
      shelf->addObserver(second, books, ObservingOptions::both, nullptr);
    }
  };
  doAll();
  first->then = nullptr;
  shelf->removeObserver(first, books, &context);
  beside(*shelf);
  doAll();
  return heard;
}

TEST_F(AWatcherBesideObservers, ChangesNothingOfWhatObserversHear) {
  const Lines expected = heardByObservers([](Shelf&) {});
  EXPECT_EQ(expected.size(), 17U + 11U + 6U);
  const auto watchSome = [&](Shelf& watched) {
    watch(watched, one, books);
    watch(watched, two, label, Watching::everyKey);
    const auto passing = WatchRecorder::make("passing", lines);
    watch(watched, passing, books, Watching::everyKey);
  };
  EXPECT_EQ(heardByObservers(watchSome), expected);
  EXPECT_EQ(heardByObservers([&](Shelf& watched) {
              unwatch(watched, one, books);
              watchSome(watched);
            }),
            expected);
  EXPECT_NE(heard(), Lines{});
}

}  // namespace
