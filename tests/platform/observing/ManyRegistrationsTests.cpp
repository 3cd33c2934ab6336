// SPDX-License-Identifier: Apache-2.0
// One observer on many objects. The result is that of registering on each object, only cheaper.
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/ManyRegistrations.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Shelf.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/Property.h"
#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::ContextToken;
using platform::InvalidArgument;
using platform::Key;
using platform::ManyRegistrations;
using platform::ManyWithdrawals;
using platform::ObservingOptions;
using test::Lines;
using test::Recorder;
using test::Shelf;

static_assert(!std::is_copy_constructible_v<ManyRegistrations>);
static_assert(!std::is_copy_constructible_v<ManyWithdrawals>);

constexpr ContextToken context("a context");
constexpr ContextToken other("another");

using Shelves = std::vector<std::shared_ptr<Shelf>>;

Shelves shelves(std::size_t count) {
  Shelves made(count);
  std::ranges::generate(made, Shelf::make);
  return made;
}

/// One after the other, or all at once.
class ManyObjects : public testing::TestWithParam<bool> {
 protected:
  void addToAll(const std::shared_ptr<Recorder>& observer, const ContextToken* token = &context) {
    ManyRegistrations registrations(observer, label, ObservingOptions::newValue, token);
    if (GetParam()) {
      registrations.addToAll([&](const auto& add) { forEachObject(add); });
    } else {
      forEachObject([&](Shelf& object) { registrations.addTo(object); });
    }
  }
  void removeFromAll(const std::shared_ptr<Recorder>& observer,
                     const ContextToken* token = &context) {
    ManyWithdrawals withdrawals(observer, label, token);
    if (GetParam()) {
      withdrawals.removeFromAll([&](const auto& remove) { forEachObject(remove); });
    } else {
      forEachObject([&](Shelf& object) { withdrawals.removeFrom(object); });
    }
  }
  template <class Visit>
  void forEachObject(const Visit& visit) {
    for (const auto& object : objects) {
      if (object == nullptr) {
        throw std::runtime_error("no object");
      }
      visit(*object);
    }
  }
  /// What is heard when each object gets its number for a label.
  Lines heard() {
    notices.clear();
    for (std::size_t i = 0; i < objects.size(); ++i) {
      objects[i]->setLabel(i);
    }
    return std::exchange(notices, {});
  }
  std::size_t observed() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(objects, [](const auto& object) { return object->isObserved(); }));
  }

  const Key label = Key("label");
  Lines notices;
  Shelves objects = shelves(4);
  std::shared_ptr<Recorder> one = Recorder::make("one", notices);
  std::shared_ptr<Recorder> two = Recorder::make("two", notices);
};

TEST_P(ManyObjects, AreObservedEach) {
  addToAll(one);
  EXPECT_EQ(
      heard(),
      (Lines{"one: label setting new=0 (a context)", "one: label setting new=1 (a context)",
             "one: label setting new=2 (a context)", "one: label setting new=3 (a context)"}));
  removeFromAll(one);
  EXPECT_EQ(heard(), Lines());
  EXPECT_EQ(observed(), 0U);
}

TEST_P(ManyObjects, MayHaveDifferentObserversAlready) {
  // Like neighbours, unlike ones, and the first kind again.
  objects[1]->addObserver(two, label, ObservingOptions::none, nullptr);
  objects[2]->addObserver(two, label, ObservingOptions::none, nullptr);
  addToAll(one);
  EXPECT_EQ(heard(), (Lines{"one: label setting new=0 (a context)", "two: label setting",
                            "one: label setting new=1 (a context)", "two: label setting",
                            "one: label setting new=2 (a context)",
                            "one: label setting new=3 (a context)"}));
  removeFromAll(one);
  EXPECT_EQ(heard(), (Lines{"two: label setting", "two: label setting"}));
  EXPECT_EQ(observed(), 2U);
}

TEST_P(ManyObjects, LoseARegistrationThatOthersCameAfter) {
  addToAll(one);
  addToAll(two);
  addToAll(one, &other);
  removeFromAll(one);
  EXPECT_EQ(heard().size(), 8U);
  removeFromAll(one, &other);
  removeFromAll(two);
  EXPECT_EQ(observed(), 0U);
}

TEST_P(ManyObjects, AreObservedAsOftenAsTheyOccur) {
  objects = {objects[0], objects[0], objects[1], objects[0], objects[1]};
  addToAll(one);
  objects.resize(3);
  EXPECT_EQ(heard().size(), 3U + 3U + 2U);
  objects = {objects[0], objects[2], objects[0]};
  removeFromAll(one);
  EXPECT_EQ(heard(),
            (Lines{"one: label setting new=0 (a context)", "one: label setting new=1 (a context)",
                   "one: label setting new=2 (a context)"}));
}

TEST_P(ManyObjects, AreObservedUpToWhereTheWalkThrows) {
  objects.insert(objects.begin() + 2, nullptr);
  EXPECT_THROW(addToAll(one), std::runtime_error);
  std::erase(objects, nullptr);
  EXPECT_EQ(observed(), 2U);
  EXPECT_EQ(heard().size(), 2U);
  addToAll(one);
  EXPECT_EQ(heard().size(), 6U);
}

TEST_P(ManyObjects, TakeNoAbsentObserver) {
  EXPECT_THROW(addToAll(nullptr), InvalidArgument);
  EXPECT_EQ(observed(), 0U);
}

TEST_P(ManyObjects, AreLeftFromTheFirstThatIsNotObservedOn) {
  addToAll(one);
  objects[2]->removeObserver(one, label, &context);
  EXPECT_THROW(removeFromAll(one), InvalidArgument);
  EXPECT_EQ(heard(), Lines{"one: label setting new=3 (a context)"});
  EXPECT_THROW(removeFromAll(one), InvalidArgument);
  EXPECT_EQ(observed(), 1U);
}

TEST_P(ManyObjects, CanBeTriedAgainAfterOneRaised) {
  addToAll(one);
  const auto stranger = Shelf::make();
  {
    ManyWithdrawals withdrawals(one, label, &context);
    withdrawals.removeFrom(*objects[0]);
    EXPECT_THROW(withdrawals.removeFrom(*stranger), InvalidArgument);
    withdrawals.removeFrom(*objects[1]);
    EXPECT_THROW(withdrawals.removeFrom(*stranger), InvalidArgument);
    EXPECT_THROW(withdrawals.removeFrom(*objects[1]), InvalidArgument);
  }
  EXPECT_EQ(observed(), 2U);
  EXPECT_EQ(heard().size(), 2U);
}

TEST_P(ManyObjects, ForgetWhoIsGoneWhenTheNextOneComes) {
  addToAll(one);
  addToAll(two);
  two.reset();
  addToAll(one, &other);
  const int readsBefore = objects[3]->readsOf("label");
  EXPECT_EQ(heard().size(), 8U);
  EXPECT_EQ(objects[3]->readsOf("label"), readsBefore + 1);
  removeFromAll(one, &other);
  removeFromAll(one);
  EXPECT_EQ(observed(), 0U) << "of the one that is gone, nothing is left";
}

TEST_P(ManyObjects, KeepRegistrationsApartFromAChangeInProgress) {
  // An observer that registers during a change hears the next one. One that withdraws hears no
  // more.
  addToAll(one);
  auto change = objects[2]->willChangeValueForKey(label);
  addToAll(two);
  removeFromAll(one);
  objects[2]->didChangeValueForKey(std::move(change));
  EXPECT_EQ(notices, Lines());
  EXPECT_EQ(heard().size(), 4U);
}

TEST_P(ManyObjects, MayGoOneByOne) {
  addToAll(one);
  addToAll(two);
  while (!objects.empty()) {
    objects.pop_back();
    removeFromAll(two);
    EXPECT_EQ(heard().size(), objects.size());
    addToAll(two);
  }
}

TEST_P(ManyObjects, TakeMemoryOnceAndGiveItBack) {
  objects = shelves(1000);
  addToAll(one);
  removeFromAll(one);
  const std::ptrdiff_t before = test::liveAllocations();
  EXPECT_EQ(test::allocationsOf([&] { addToAll(one); }), 1U);
  EXPECT_EQ(test::allocationsOf([&] { addToAll(two); }), 1U);
  EXPECT_EQ(test::allocationsOf([&] { removeFromAll(two); }), 0U);
  addToAll(two);
  EXPECT_LE(test::allocationsOf([&] { removeFromAll(one); }), 3U) << "\"two\" stays behind";
  removeFromAll(two);
  EXPECT_EQ(test::liveAllocations(), before);
}

TEST_P(ManyObjects, GiveMemoryBackWhenTheyGoAndAfterARaise) {
  const auto comeAndGo = [this] {
    objects = shelves(10);
    addToAll(one);
    objects[5]->removeObserver(one, label, &context);
    EXPECT_THROW(removeFromAll(one), InvalidArgument);
    addToAll(two);
    objects.clear();
  };
  comeAndGo();
  const std::ptrdiff_t before = test::liveAllocations();
  comeAndGo();
  EXPECT_EQ(test::liveAllocations(), before);
}

// --- against addObserver and removeObserver of each object

/// One call for some of the objects, in this order.
struct Call {
  bool adds;
  bool byOne;
  bool underOther;
  std::vector<std::size_t> objects;
};

std::ostream& operator<<(std::ostream& out, const Call& call) {
  out << (call.adds ? "add " : "remove ") << (call.byOne ? "one" : "two")
      << (call.underOther ? " under the other context:" : ":");
  for (const std::size_t object : call.objects) {
    out << " " << object;
  }
  return out;
}

constexpr std::size_t objectCount = 5;

rc::Gen<Call> call() {
  return rc::gen::build<Call>(
      rc::gen::set(&Call::adds), rc::gen::set(&Call::byOne), rc::gen::set(&Call::underOther),
      rc::gen::set(&Call::objects, rc::gen::container<std::vector<std::size_t>>(
                                       rc::gen::inRange<std::size_t>(0, objectCount))));
}

/// Objects and observers that calls are made on.
struct World {
  const std::shared_ptr<Recorder>& observer(const Call& call) const {
    return call.byOne ? one : two;
  }
  /// Whether a call threw.
  bool make(const Call& call, bool atOnce) {
    const ContextToken* token = call.underOther ? &other : &context;
    const ObservingOptions options =
        call.underOther ? ObservingOptions::both : ObservingOptions::none;
    try {
      ManyRegistrations registrations(observer(call), label, options, token);
      ManyWithdrawals withdrawals(observer(call), label, token);
      for (const std::size_t i : call.objects) {
        if (!atOnce) {
          call.adds ? objects[i]->addObserver(observer(call), label, options, token)
                    : objects[i]->removeObserver(observer(call), label, token);
        } else if (call.adds) {
          registrations.addTo(*objects[i]);
        } else {
          withdrawals.removeFrom(*objects[i]);
        }
      }
      return false;
    } catch (const InvalidArgument&) {
      return true;
    }
  }
  Lines heard() {
    for (const auto& object : objects) {
      object->setLabel("text");
    }
    return std::exchange(notices, {});
  }

  const Key label = Key("label");
  Lines notices;
  Shelves objects = shelves(objectCount);
  std::shared_ptr<Recorder> one = Recorder::make("one", notices);
  std::shared_ptr<Recorder> two = Recorder::make("two", notices);
};

PROPERTY(ManyObjectsProperty, AreObservedAsIfOneAfterTheOther, ()) {
  World atOnce;
  World oneByOne;
  for (const Call& made : *rc::gen::container<std::vector<Call>>(call())) {
    RC_ASSERT(atOnce.make(made, true) == oneByOne.make(made, false));
    RC_ASSERT(atOnce.heard() == oneByOne.heard());
  }
}

INSTANTIATE_TEST_SUITE_P(SinglyAndAtOnce, ManyObjects, testing::Bool());

}  // namespace
