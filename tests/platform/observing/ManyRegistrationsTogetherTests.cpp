// SPDX-License-Identifier: Apache-2.0
// Several observers register on the same objects or withdraw from them. Meanwhile the objects are
// used in other ways, and destroyed.
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/ManyRegistrations.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <utility>
#include <vector>

#include "Shelf.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/Property.h"
#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::Key;
using platform::ManyRegistrations;
using platform::ManyWithdrawals;
using platform::ObservingOptions;
using test::Lines;
using test::Recorder;
using test::Shelf;

class ManyRegistrationsTogether : public testing::Test {
 protected:
  ManyRegistrationsTogether() {
    for (auto& object : objects) {
      object = Shelf::make();
    }
  }
  Lines heard() {
    notices.clear();
    for (const auto& object : objects) {
      if (object) {
        object->setLabel("a");
      }
    }
    return notices;
  }
  static Lines times(std::size_t count, const Lines& lines) {
    Lines all;
    for (std::size_t i = 0; i < count; ++i) {
      all.insert(all.end(), lines.begin(), lines.end());
    }
    return all;
  }

  const Key label = Key("label");
  Lines notices;
  std::array<std::shared_ptr<Shelf>, 5> objects;
  std::shared_ptr<Recorder> one = Recorder::make("one", notices);
  std::shared_ptr<Recorder> two = Recorder::make("two", notices);
};

TEST_F(ManyRegistrationsTogether, MayTakeTurnsAtEachObject) {
  {
    ManyRegistrations ones(one, label, ObservingOptions::none, nullptr);
    ManyRegistrations twos(two, label, ObservingOptions::none, nullptr);
    for (const auto& object : objects) {
      ones.addTo(*object);
      twos.addTo(*object);
    }
  }
  EXPECT_EQ(heard(), times(5, {"one: label setting", "two: label setting"}));
  {
    ManyWithdrawals ones(one, label, nullptr);
    ManyWithdrawals twos(two, label, nullptr);
    for (const auto& object : objects) {
      twos.removeFrom(*object);
      ones.removeFrom(*object);
    }
  }
  EXPECT_EQ(heard(), Lines());
}

TEST_F(ManyRegistrationsTogether, MayEndInAnyOrder) {
  auto ones = std::make_unique<ManyRegistrations>(one, label, ObservingOptions::none, nullptr);
  auto twos = std::make_unique<ManyRegistrations>(two, label, ObservingOptions::none, nullptr);
  for (const auto& object : objects) {
    ones->addTo(*object);
  }
  for (const auto& object : objects) {
    twos->addTo(*object);
  }
  ones.reset();
  for (const auto& object : objects) {
    object->removeObserver(two, label, nullptr);
    object->removeObserver(one, label, nullptr);
  }
  twos.reset();
  EXPECT_EQ(heard(), Lines());
}

TEST_F(ManyRegistrationsTogether, LeaveObjectsFreeToBeUsedMeanwhile) {
  ManyRegistrations ones(one, label, ObservingOptions::none, nullptr);
  for (const auto& object : objects) {
    ones.addTo(*object);
  }
  for (const auto& object : objects) {
    object->removeObserver(one, label, nullptr);
    object->addObserver(two, label, ObservingOptions::none, nullptr);
  }
  EXPECT_EQ(heard(), times(5, {"two: label setting"}));
  for (const auto& object : objects) {
    ones.addTo(*object);
  }
  EXPECT_EQ(heard(), times(5, {"two: label setting", "one: label setting"}));
}

TEST_F(ManyRegistrationsTogether, LeaveObjectsFreeToGoMeanwhile) {
  ManyRegistrations ones(one, label, ObservingOptions::none, nullptr);
  for (auto& object : objects) {
    ones.addTo(*object);
    object.reset();
  }
  objects[0] = Shelf::make();
  ones.addTo(*objects[0]);
  EXPECT_EQ(heard(), Lines{"one: label setting"});
}

TEST_F(ManyRegistrationsTogether, MayRegisterAndWithdrawInTurn) {
  for (int round = 0; round < 3; ++round) {
    ManyRegistrations ones(one, label, ObservingOptions::none, nullptr);
    ManyWithdrawals without(one, label, nullptr);
    for (const auto& object : objects) {
      ones.addTo(*object);
      ones.addTo(*object);
      without.removeFrom(*object);
    }
  }
  EXPECT_EQ(heard(), times(15, {"one: label setting"}));
}

TEST_F(ManyRegistrationsTogether, GoOnAfterAHundredThousandObjects) {
  // What a registration prepares for the next objects does not last for ever.
  std::vector<std::shared_ptr<Shelf>> many(100'000);
  (void)heard();
  objects[0]->addObserver(one, label, ObservingOptions::none, nullptr);
  objects[0]->removeObserver(one, label, nullptr);
  const std::ptrdiff_t before = test::liveAllocations();
  {
    ManyRegistrations ones(one, label, ObservingOptions::none, nullptr);
    for (auto& each : many) {
      each = Shelf::make();
      ones.addTo(*each);
    }
  }
  EXPECT_TRUE(many[70'000]->isObserved());
  {
    ManyWithdrawals without(one, label, nullptr);
    for (const auto& each : many) {
      without.removeFrom(*each);
    }
  }
  EXPECT_FALSE(many[70'000]->isObserved());
  many.clear();
  EXPECT_EQ(test::liveAllocations(), before);
}

// --- any steps in any order, against addObserver and removeObserver of each object

struct Step {
  enum What : std::uint8_t {
    add,
    remove,
    addAlone,
    removeAlone,
    change,
    beginChange,
    endChange,
    drop,
    restart,
    count
  };
  What what;
  bool byTwo;
  std::size_t object;
};

std::ostream& operator<<(std::ostream& out, const Step& step) {
  static constexpr const char* names[] = {"add",   "remove", "add alone", "remove alone", "change",
                                          "begin", "end",    "drop",      "restart"};
  return out << names[step.what] << (step.byTwo ? " two " : " one ") << step.object;
}

constexpr std::size_t objectCount = 4;

rc::Gen<Step> step() {
  return rc::gen::build<Step>(
      rc::gen::set(&Step::what,
                   rc::gen::map(rc::gen::inRange<int>(0, Step::count),
                                [](int what) { return static_cast<Step::What>(what); })),
      rc::gen::set(&Step::byTwo),
      rc::gen::set(&Step::object, rc::gen::inRange<std::size_t>(0, objectCount)));
}

class World {
 public:
  explicit World(bool atOnce) : _atOnce(atOnce) {
    for (auto& object : _objects) {
      object = Shelf::make();
    }
    restart(0);
    restart(1);
  }
  /// What was heard, and whether something was thrown.
  std::pair<Lines, bool> take(const Step& step) {
    bool hasThrown = false;
    try {
      make(step);
    } catch (const InvalidArgument&) {
      hasThrown = true;
    }
    return {std::exchange(_notices, {}), hasThrown};
  }

 private:
  void make(const Step& step) {
    const std::size_t who = step.byTwo ? 1 : 0;
    auto& object = _objects[step.object];
    switch (step.what) {
      case Step::add:
        if (_atOnce) {
          return _registrations[who]->addTo(*object);
        }
        [[fallthrough]];
      case Step::addAlone:
        return object->addObserver(_observers[who], _label, ObservingOptions::newValue, nullptr);
      case Step::remove:
        if (_atOnce) {
          return _withdrawals[who]->removeFrom(*object);
        }
        [[fallthrough]];
      case Step::removeAlone:
        return object->removeObserver(_observers[who], _label, nullptr);
      case Step::change:
        return object->setLabel(step.object);
      case Step::beginChange:
        _change = object->willChangeValueForKey(_label);
        _changing = object;
        return;
      case Step::endChange:
        if (const auto changing = std::exchange(_changing, nullptr)) {
          changing->didChangeValueForKey(std::exchange(_change, {}));
        }
        return;
      case Step::drop:
        object = Shelf::make();
        return;
      case Step::restart:
      case Step::count:
        return restart(who);
    }
  }
  void restart(std::size_t who) {
    _registrations[who].emplace(_observers[who], _label, ObservingOptions::newValue, nullptr);
    _withdrawals[who].emplace(_observers[who], _label, nullptr);
  }

  bool _atOnce;
  const Key _label = Key("label");
  Lines _notices;
  std::array<std::shared_ptr<Recorder>, 2> _observers{Recorder::make("one", _notices),
                                                      Recorder::make("two", _notices)};
  std::array<std::shared_ptr<Shelf>, objectCount> _objects;
  std::array<std::optional<ManyRegistrations>, 2> _registrations;
  std::array<std::optional<ManyWithdrawals>, 2> _withdrawals;
  platform::PendingChange _change;
  std::shared_ptr<Shelf> _changing;
};

PROPERTY(ManyRegistrationsTogetherProperty, DoWhatEachCallByItselfDoes, ()) {
  World atOnce(true);
  World oneByOne(false);
  const auto steps = *rc::gen::scale(3.0, rc::gen::container<std::vector<Step>>(step()));
  for (const Step& made : steps) {
    RC_ASSERT(atOnce.take(made) == oneByOne.take(made));
  }
}

}  // namespace
