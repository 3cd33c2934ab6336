// SPDX-License-Identifier: Apache-2.0
// Registrations and what their observers are told.
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "Shelf.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::ChangeKind;
using platform::ChangeRecord;
using platform::ContextToken;
using platform::IndexSet;
using platform::InvalidArgument;
using platform::Key;
using platform::Observable;
using platform::Observer;
using platform::ObservingOptions;
using platform::PendingChange;
using platform::RangeError;
using platform::Value;
using test::Lines;
using test::Recorder;
using test::Shelf;

static_assert(!std::is_copy_constructible_v<Observable> && !std::is_copy_assignable_v<Observable>);
static_assert(!std::is_move_constructible_v<Observable> && !std::is_move_assignable_v<Observable>);
static_assert(!std::is_copy_constructible_v<Observer> && !std::is_copy_assignable_v<Observer>);
static_assert(!std::is_copy_constructible_v<ContextToken>);
static_assert(!std::is_copy_constructible_v<PendingChange>);
static_assert(std::is_nothrow_move_constructible_v<PendingChange>);
static_assert(std::is_nothrow_move_assignable_v<PendingChange>);
static_assert(std::is_copy_constructible_v<ChangeRecord>, "an observer may keep one");

static_assert(static_cast<unsigned>(ChangeKind::setting) == 1);
static_assert(static_cast<unsigned>(ChangeKind::insertion) == 2);
static_assert(static_cast<unsigned>(ChangeKind::removal) == 3);
static_assert(static_cast<unsigned>(ChangeKind::replacement) == 4);
static_assert((ObservingOptions::newValue | ObservingOptions::oldValue) == ObservingOptions::both);
static_assert(platform::wants(ObservingOptions::both, ObservingOptions::oldValue));
static_assert(!platform::wants(ObservingOptions::newValue, ObservingOptions::oldValue));
static_assert(!platform::wants(ObservingOptions::none, ObservingOptions::both));

constexpr ContextToken contextA("a");
constexpr ContextToken contextB("b");

class Observing : public testing::Test {
 protected:
  std::shared_ptr<Recorder> observer(const std::string& name) {
    return Recorder::make(name, notices);
  }
  void add(const std::shared_ptr<Observer>& who, const char* key,
           ObservingOptions options = ObservingOptions::none,
           const ContextToken* context = nullptr) {
    shelf->addObserver(who, key, options, context);
  }

  Lines notices;
  std::shared_ptr<Shelf> shelf = Shelf::make();
  std::shared_ptr<Recorder> one = observer("one");
  std::shared_ptr<Recorder> two = observer("two");
  std::shared_ptr<Recorder> three = observer("three");
};

TEST_F(Observing, NoticesArriveInTheOrderOfRegistration) {
  add(two, "label");
  add(three, "spine");
  add(one, "label");
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"two: label setting", "three: spine setting", "one: label setting"}));
}

TEST_F(Observing, NoticesHaveArrivedWhenTheSetterReturnsAndNotBeforeTheChange) {
  Value seen;
  one->then = [&] { seen = shelf->label(); };
  add(one, "label");
  shelf->setLabel("new");
  EXPECT_EQ(seen, "new");
}

TEST_F(Observing, RegisteringTwiceGivesTwoRegistrations) {
  add(one, "label");
  add(one, "label");
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting", "one: label setting"}));
}

TEST_F(Observing, WithdrawingTakesTheLatestRegistrationThatMatches) {
  add(one, "label", ObservingOptions::oldValue);
  add(two, "label");
  add(one, "label", ObservingOptions::newValue);
  add(one, "books");
  add(one, "label", ObservingOptions::both, &contextA);
  shelf->removeObserver(one, "label", nullptr);
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting old=<null>", "two: label setting",
                            "one: label setting old=<null> new=\"a\" (a)"}));
}

TEST_F(Observing, WithdrawingOneOfSeveralLeavesTheOthersInTheirOrder) {
  const auto four = observer("four");
  for (const auto& who : {one, two, three, four}) {
    add(who, "label");
  }
  shelf->removeObserver(two, "label", nullptr);
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting", "three: label setting", "four: label setting"}));
  notices.clear();
  shelf->removeObserver(one, "label", nullptr);
  shelf->removeObserver(four, "label", nullptr);
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"three: label setting"}));
}

TEST_F(Observing, WithdrawingWhatIsNotThereRaises) {
  EXPECT_THROW(shelf->removeObserver(one, "label", nullptr), InvalidArgument);
  add(one, "label", ObservingOptions::none, &contextA);
  EXPECT_THROW(shelf->removeObserver(two, "label", &contextA), InvalidArgument);
  EXPECT_THROW(shelf->removeObserver(one, "books", &contextA), InvalidArgument);
  EXPECT_THROW(shelf->removeObserver(one, "label", &contextB), InvalidArgument);
  EXPECT_THROW(shelf->removeObserver(one, "label", nullptr), InvalidArgument);
  EXPECT_THROW(shelf->removeObserver(nullptr, "label", &contextA), InvalidArgument);
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting (a)"})) << "the registration is untouched";
  shelf->removeObserver(one, "label", &contextA);
  EXPECT_THROW(shelf->removeObserver(one, "label", &contextA), InvalidArgument);
}

TEST_F(Observing, RegisteringNobodyRaises) {
  EXPECT_THROW(add(nullptr, "label"), InvalidArgument);
}

TEST_F(Observing, ContextsAreComparedByIdentityNotByText) {
  static constexpr ContextToken sameText("a");
  add(one, "label", ObservingOptions::none, &contextA);
  EXPECT_THROW(shelf->removeObserver(one, "label", &sameText), InvalidArgument);
  add(one, "label", ObservingOptions::none, &sameText);
  shelf->removeObserver(one, "label", &contextA);
  shelf->removeObserver(one, "label", &sameText);
}

TEST_F(Observing, EachRegistrationIsToldOfItsOwnContext) {
  struct ContextObserver : Observer {
    void observeValueForKeyPathOfObjectChangeContext(const Key&, const std::shared_ptr<Observable>&,
                                                     const ChangeRecord&,
                                                     const ContextToken* context) override {
      contexts.push_back(context);
    }
    std::vector<const ContextToken*> contexts;
  };
  const auto who = std::make_shared<ContextObserver>();
  add(who, "label", ObservingOptions::none, &contextB);
  add(who, "label", ObservingOptions::none, nullptr);
  add(who, "label", ObservingOptions::none, &contextA);
  shelf->setLabel("a");
  EXPECT_EQ(who->contexts, (std::vector<const ContextToken*>{&contextB, nullptr, &contextA}));
}

TEST_F(Observing, ObserversInOneAllocationAreToldApart) {
  // One owner, two observers: the owner's count is theirs.
  struct Pair {
    explicit Pair(Lines& notices) : first("first", notices), second("second", notices) {}
    Recorder first;
    Recorder second;
  };
  const auto pair = std::make_shared<Pair>(notices);
  const std::shared_ptr<Observer> first(pair, &pair->first);
  const std::shared_ptr<Observer> second(pair, &pair->second);
  add(first, "label");
  add(second, "label");
  shelf->removeObserver(first, "label", nullptr);
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"second: label setting"}));
}

TEST_F(Observing, ObjectsHaveRegistrationsOfTheirOwn) {
  const auto other = Shelf::make();
  add(one, "label");
  other->addObserver(two, "label", ObservingOptions::none, nullptr);
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting"}));
  EXPECT_THROW(other->removeObserver(one, "label", nullptr), InvalidArgument);
}

TEST_F(Observing, TheObservedObjectIsPartOfTheNotice) {
  struct ObjectObserver : Observer {
    void observeValueForKeyPathOfObjectChangeContext(const Key&,
                                                     const std::shared_ptr<Observable>& object,
                                                     const ChangeRecord&,
                                                     const ContextToken*) override {
      seen = object.get();
    }
    const Observable* seen = nullptr;
  };
  const auto who = std::make_shared<ObjectObserver>();
  add(who, "label");
  shelf->setLabel("a");
  EXPECT_EQ(who->seen, shelf.get());
}

TEST_F(Observing, AKeyThatTheObjectDoesNotHaveMayBeObservedAndIsNeverHeardOf) {
  add(one, "no such key", ObservingOptions::both);
  shelf->setLabel("a");
  shelf->insertBook(0, "b");
  EXPECT_EQ(notices, Lines());
  shelf->removeObserver(one, "no such key", nullptr);
}

TEST_F(Observing, ASettingCarriesWhatWasAskedFor) {
  shelf->setLabel("old");
  add(one, "label", ObservingOptions::none);
  add(one, "label", ObservingOptions::newValue);
  add(one, "label", ObservingOptions::oldValue);
  add(one, "label", ObservingOptions::both);
  shelf->setLabel("new");
  EXPECT_EQ(notices, (Lines{"one: label setting", "one: label setting new=\"new\"",
                            "one: label setting old=\"old\"",
                            "one: label setting old=\"old\" new=\"new\""}));
}

TEST_F(Observing, AnAbsentValueArrivesAsTheNullMarker) {
  add(one, "label", ObservingOptions::both);
  shelf->setLabel("a");
  shelf->setLabel(Value());
  EXPECT_EQ(notices, (Lines{"one: label setting old=<null> new=\"a\"",
                            "one: label setting old=\"a\" new=<null>"}));
}

TEST_F(Observing, AnAutomaticSetterAnnouncesAnEqualValueAsWell) {
  shelf->setLabel("same");
  add(one, "label", ObservingOptions::both);
  shelf->setLabel("same");
  EXPECT_EQ(notices, (Lines{"one: label setting old=\"same\" new=\"same\""}));
}

TEST_F(Observing, AnInsertionCarriesItsIndexesAndTheNewElements) {
  shelf->setAllBooks(Value::array({"a", "b"}));
  add(one, "books", ObservingOptions::both);
  shelf->insertBook(1, "x");
  EXPECT_EQ(notices, (Lines{"one: books insertion {1} new=[\"x\"]"}));
}

TEST_F(Observing, ARemovalCarriesItsIndexesAndTheOldElements) {
  shelf->setAllBooks(Value::array({"a", "b"}));
  add(one, "books", ObservingOptions::both);
  shelf->removeBook(1);
  EXPECT_EQ(notices, (Lines{"one: books removal {1} old=[\"b\"]"}));
}

TEST_F(Observing, AReplacementCarriesItsIndexesAndBothElements) {
  shelf->setAllBooks(Value::array({"a", "b"}));
  add(one, "books", ObservingOptions::both);
  shelf->replaceBook(0, "x");
  EXPECT_EQ(notices, (Lines{"one: books replacement {0} old=[\"a\"] new=[\"x\"]"}));
}

TEST_F(Observing, AnIndexedChangeCarriesNoValuesThatWereNotAskedFor) {
  shelf->setAllBooks(Value::array({"a"}));
  add(one, "books", ObservingOptions::none);
  add(two, "books", ObservingOptions::oldValue);
  add(three, "books", ObservingOptions::newValue);
  shelf->replaceBook(0, "x");
  EXPECT_EQ(notices, (Lines{"one: books replacement {0}", "two: books replacement {0} old=[\"a\"]",
                            "three: books replacement {0} new=[\"x\"]"}));
  notices.clear();
  shelf->removeBook(0);
  EXPECT_EQ(notices, (Lines{"one: books removal {0}", "two: books removal {0} old=[\"x\"]",
                            "three: books removal {0}"}));
  notices.clear();
  shelf->insertBook(0, "y");
  EXPECT_EQ(notices, (Lines{"one: books insertion {0}", "two: books insertion {0}",
                            "three: books insertion {0} new=[\"y\"]"}));
}

TEST_F(Observing, SeveralIndexesCarryTheirElementsInAscendingOrder) {
  shelf->setAllBooks(Value::array({"a", "b", "c", "d"}));
  add(one, "books", ObservingOptions::both);
  auto change = shelf->willChangeValuesAtIndexesForKey(ChangeKind::replacement, {3, 0, 1}, "books");
  shelf->didChangeValuesAtIndexesForKey(std::move(change));
  EXPECT_EQ(notices, (Lines{"one: books replacement {0-1, 3} old=[\"a\", \"b\", \"d\"] "
                            "new=[\"a\", \"b\", \"d\"]"}));
}

TEST_F(Observing, AnIndexedChangeOfNoElementsCarriesEmptyArrays) {
  add(one, "books", ObservingOptions::both);
  auto change = shelf->willChangeValuesAtIndexesForKey(ChangeKind::replacement, {}, "books");
  shelf->didChangeValuesAtIndexesForKey(std::move(change));
  EXPECT_EQ(notices, (Lines{"one: books replacement {} old=[] new=[]"}));
}

TEST_F(Observing, AskingForOldElementsThatAreNotThereRaisesBeforeTheChange) {
  shelf->setAllBooks(Value::array({"a"}));
  add(one, "books", ObservingOptions::oldValue);
  EXPECT_THROW((void)shelf->willChangeValuesAtIndexesForKey(ChangeKind::removal, {0, 1}, "books"),
               RangeError);
  EXPECT_THROW((void)shelf->willChangeValuesAtIndexesForKey(ChangeKind::replacement, {7}, "books"),
               RangeError);
  EXPECT_EQ(notices, Lines());
  shelf->removeBook(0);
  EXPECT_EQ(notices, (Lines{"one: books removal {0} old=[\"a\"]"}));
}

TEST_F(Observing, OldValuesAreTakenAtWillChangeAndNewOnesAtDidChange) {
  shelf->setLabel("before");
  add(one, "label", ObservingOptions::both);
  shelf->setLabelSilently("at will");
  auto change = shelf->willChangeValueForKey("label");
  shelf->setLabelSilently("in between");
  shelf->setLabelSilently("at did");
  shelf->didChangeValueForKey(std::move(change));
  shelf->setLabelSilently("after");
  EXPECT_EQ(notices, (Lines{"one: label setting old=\"at will\" new=\"at did\""}));
}

TEST_F(Observing, NewValuesAreTakenBeforeTheFirstNotice) {
  one->then = [&] { shelf->setLabelSilently("by one"); };
  add(one, "label");
  add(two, "label", ObservingOptions::newValue);
  shelf->setLabel("set");
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting new=\"set\""}));
}

TEST_F(Observing, ValuesAreReadOnlyWhenSomebodyAsksForThem) {
  shelf->setLabel("a");
  add(one, "label");
  add(one, "spine");
  add(one, "books");
  shelf->setLabel("b");
  shelf->insertBook(0, "x");
  shelf->removeBook(0);
  EXPECT_EQ(notices.size(), 4U);
  for (const char* key : {"label", "spine", "books"}) {
    EXPECT_EQ(shelf->readsOf(key), 0) << key;
  }
}

TEST_F(Observing, ValuesAreReadOncePerChangeForAllObservers) {
  add(one, "label", ObservingOptions::newValue);
  add(two, "label", ObservingOptions::newValue);
  add(three, "label", ObservingOptions::none);
  shelf->setLabel("b");
  EXPECT_EQ(shelf->readsOf("label"), 1);
  add(one, "label", ObservingOptions::oldValue);
  shelf->setLabel("c");
  EXPECT_EQ(shelf->readsOf("label"), 3);
}

TEST_F(Observing, OldElementsAreNotReadForAnInsertionNorNewOnesForARemoval) {
  add(one, "books", ObservingOptions::oldValue);
  shelf->insertBook(0, "x");
  EXPECT_EQ(shelf->readsOf("books"), 0);
  shelf->removeObserver(one, "books", nullptr);
  add(one, "books", ObservingOptions::newValue);
  shelf->removeBook(0);
  EXPECT_EQ(shelf->readsOf("books"), 0);
}

TEST_F(Observing, ADroppedAnnouncementIsNeverHeardOf) {
  add(one, "label", ObservingOptions::both);
  {
    auto change = shelf->willChangeValueForKey("label");
    shelf->setLabelSilently("dropped");
  }
  EXPECT_EQ(notices, Lines());
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"one: label setting old=\"dropped\" new=\"b\""}));
}

TEST_F(Observing, AnnouncementsMayEndInAnyOrder) {
  add(one, "label", ObservingOptions::both);
  add(one, "books");
  auto first = shelf->willChangeValueForKey("label");
  auto second = shelf->willChangeValueForKey("books");
  auto third = shelf->willChangeValueForKey("label");
  shelf->didChangeValueForKey(std::move(first));
  third = PendingChange();
  shelf->didChangeValueForKey(std::move(second));
  EXPECT_EQ(notices, (Lines{"one: label setting old=<null> new=<null>", "one: books setting"}));
}

TEST_F(Observing, AnAnnouncementBelongsToTheObjectThatMadeIt) {
  add(one, "label");
  const auto other = Shelf::make();
  auto change = shelf->willChangeValueForKey("label");
  EXPECT_THROW(other->didChangeValueForKey(std::move(change)), InvalidArgument);
  EXPECT_EQ(notices, Lines());
}

TEST_F(Observing, AnAnnouncementThatConcernsNobodyEndsWithoutNotice) {
  auto change = shelf->willChangeValueForKey("label");
  add(one, "label");
  shelf->didChangeValueForKey(std::move(change));
  shelf->didChangeValueForKey(PendingChange());
  EXPECT_EQ(notices, Lines());
}

TEST_F(Observing, ChangesOfAnObjectThatIsStillBeingMadeAreNobodysToHear) {
  struct Eager : Shelf {
    explicit Eager(const std::shared_ptr<Observer>& who) {
      addObserver(who, "label", ObservingOptions::both, nullptr);
      setLabel("in the constructor");
    }
  };
  const auto eager = std::make_shared<Eager>(one);
  EXPECT_EQ(notices, Lines());
  eager->setLabel("later");
  EXPECT_EQ(notices, (Lines{"one: label setting old=\"in the constructor\" new=\"later\""}));
}

TEST_F(Observing, AnObserverMayKeepTheRecord) {
  struct Keeper : Observer {
    void observeValueForKeyPathOfObjectChangeContext(const Key&, const std::shared_ptr<Observable>&,
                                                     const ChangeRecord& change,
                                                     const ContextToken*) override {
      kept = change;
    }
    ChangeRecord kept;
  };
  const auto keeper = std::make_shared<Keeper>();
  add(keeper, "books", ObservingOptions::both);
  shelf->insertBook(0, "a");
  shelf->setAllBooks(Value::array({}));
  EXPECT_EQ(keeper->kept.kind, ChangeKind::setting);
  EXPECT_EQ(keeper->kept.oldValue, Value::array({"a"}));
  EXPECT_EQ(keeper->kept.indexes, std::nullopt);
}

TEST_F(Observing, AContextThatNobodyKnowsRaisesInTheLastBaseClass) {
  const auto plain = std::make_shared<Observer>();
  add(plain, "label", ObservingOptions::none, &contextA);
  try {
    shelf->setLabel("a");
    FAIL() << "nothing was thrown";
  } catch (const platform::UnexpectedNotice& notice) {
    const std::string text = notice.what();
    EXPECT_NE(text.find("label"), std::string::npos) << text;
    EXPECT_NE(text.find("\"a\""), std::string::npos) << text;
  }
  shelf->removeObserver(plain, "label", &contextA);
  add(plain, "label");
  EXPECT_THROW(shelf->setLabel("b"), platform::UnexpectedNotice);
}

}  // namespace
