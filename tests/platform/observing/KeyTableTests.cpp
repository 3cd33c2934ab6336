// SPDX-License-Identifier: Apache-2.0
// Reading and setting properties by key.
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>

#include <memory>
#include <string>
#include <type_traits>

#include "Shelf.h"
#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::ObservingOptions;
using platform::UndefinedKey;
using platform::Value;
using test::Lines;
using test::Recorder;
using test::Shelf;

static_assert(std::is_base_of_v<std::invalid_argument, UndefinedKey>);
static_assert(std::is_base_of_v<std::invalid_argument, InvalidArgument>);
static_assert(std::is_base_of_v<std::out_of_range, platform::RangeError>);
static_assert(std::is_base_of_v<std::logic_error, platform::UnexpectedNotice>);

TEST(KeyAccess, ReadsWhatTheGetterReturns) {
  const auto shelf = Shelf::make();
  EXPECT_TRUE(shelf->valueForKey("label").isAbsent());
  shelf->setLabel("a");
  EXPECT_EQ(shelf->valueForKey("label"), "a");
  EXPECT_EQ(shelf->valueForKey("spine"), "[a]");
  EXPECT_EQ(shelf->valueForKey("isEmpty"), Value(true));
  EXPECT_EQ(shelf->valueForKey("isEmpty").kind(), Value::Kind::boolean);
}

TEST(KeyAccess, SetsThroughTheSetterWithItsAnnouncement) {
  Lines notices;
  const auto observer = Recorder::make("heard", notices);
  const auto shelf = Shelf::make();
  shelf->addObserver(observer, "label", ObservingOptions::newValue, nullptr);
  shelf->setValueForKey("a", "label");
  EXPECT_EQ(shelf->label(), "a");
  EXPECT_EQ(notices, (Lines{"heard: label setting new=\"a\""}));
}

TEST(KeyAccess, ReachesAnInputThatCanOnlyBeSet) {
  const auto shelf = Shelf::make();
  shelf->setValueForKey(Value::array({"a", "b"}), "allBooks");
  EXPECT_EQ(shelf->books(), Value::array({"a", "b"}));
  EXPECT_THROW((void)shelf->valueForKey("allBooks"), UndefinedKey);
}

TEST(KeyAccess, OfAKeyThatIsNotThereRaises) {
  const auto shelf = Shelf::make();
  EXPECT_THROW((void)shelf->valueForKey("colour"), UndefinedKey);
  EXPECT_THROW(shelf->setValueForKey(1, "colour"), UndefinedKey);
  EXPECT_THROW((void)shelf->valueForKey("Label"), UndefinedKey);
  EXPECT_THROW((void)shelf->valueForKey(""), UndefinedKey);
}

TEST(KeyAccess, ToSetWhatCanOnlyBeReadRaisesAndChangesNothing) {
  const auto shelf = Shelf::make();
  shelf->setLabel("a");
  EXPECT_THROW(shelf->setValueForKey("b", "spine"), UndefinedKey);
  EXPECT_EQ(shelf->valueForKey("spine"), "[a]");
}

TEST(KeyAccess, NamesTheClassAndTheKeyItFailedOn) {
  const auto shelf = Shelf::make();
  try {
    (void)shelf->valueForKey("colour");
    FAIL() << "nothing was thrown";
  } catch (const UndefinedKey& error) {
    const std::string text = error.what();
    EXPECT_NE(text.find("test::Shelf"), std::string::npos) << text;
    EXPECT_NE(text.find("\"colour\""), std::string::npos) << text;
  }
}

/// Getters of every type that converts to `Value`.
class Getters : public platform::Observable {
 public:
  [[nodiscard]] bool boolean() const { return true; }
  [[nodiscard]] int integer() const noexcept { return 7; }
  [[nodiscard]] double real() const { return 0.5; }
  [[nodiscard]] const std::string& text() const { return _text; }
  [[nodiscard]] std::shared_ptr<Getters> nobody() const { return nullptr; }
  [[nodiscard]] const std::shared_ptr<Shelf>& shelf() const { return _shelf; }
  [[nodiscard]] const Value& value() const { return _value; }
  void setValue(const Value& value) { _value = value; }
  void refuse(const Value& /*value*/) { throw InvalidArgument("not like that"); }

 protected:
  [[nodiscard]] const KeyTable& keyTable() const override {
    static const KeyTable table(
        nullptr,
        {KeyAccess::readOnly<&Getters::boolean>("boolean"),
         KeyAccess::readOnly<&Getters::integer>("integer"),
         KeyAccess::readOnly<&Getters::real>("real"), KeyAccess::readOnly<&Getters::text>("text"),
         KeyAccess::readOnly<&Getters::nobody>("nobody"),
         KeyAccess::readOnly<&Getters::shelf>("shelf"),
         KeyAccess::readWrite<&Getters::value, &Getters::setValue>("value"),
         KeyAccess::readWrite<&Getters::value, &Getters::refuse>("touchy")});
    return table;
  }

 private:
  std::string _text = std::string(50, 't');
  std::shared_ptr<Shelf> _shelf = Shelf::make();
  Value _value;
};

TEST(KeyAccess, TakesGettersOfEveryType) {
  const auto getters = std::make_shared<Getters>();
  EXPECT_EQ(getters->valueForKey("boolean").boolean(), true);
  EXPECT_EQ(getters->valueForKey("integer").integer(), 7);
  EXPECT_EQ(getters->valueForKey("real").real(), 0.5);
  EXPECT_EQ(getters->valueForKey("text").string(), std::string(50, 't'));
  EXPECT_TRUE(getters->valueForKey("nobody").isAbsent());
  EXPECT_EQ(getters->valueForKey("shelf").object(), getters->shelf());
  getters->setValueForKey(Value::array({1}), "value");
  EXPECT_EQ(getters->valueForKey("value"), Value::array({1}));
}

TEST(KeyAccess, PassesOnWhatASetterRaises) {
  EXPECT_THROW(std::make_shared<Getters>()->setValueForKey(1, "touchy"), InvalidArgument);
}

/// A class with a key of its own, and another "spine" than its base class.
class Labelled : public Shelf {
 public:
  [[nodiscard]] std::string colour() const { return "red"; }
  [[nodiscard]] std::string broadSpine() const { return "|" + std::string(label().string()) + "|"; }

 protected:
  [[nodiscard]] const KeyTable& keyTable() const override {
    static const KeyTable table(&Shelf::keyTable(),
                                {KeyAccess::readOnly<&Labelled::colour>("colour"),
                                 KeyAccess::readOnly<&Labelled::broadSpine>("spine")});
    return table;
  }
};

TEST(KeyAccess, FindsTheKeysOfTheBaseClassBehindItsOwn) {
  const auto labelled = std::make_shared<Labelled>();
  labelled->setValueForKey("a", "label");
  EXPECT_EQ(labelled->valueForKey("label"), "a");
  EXPECT_EQ(labelled->valueForKey("colour"), "red");
  EXPECT_THROW((void)labelled->valueForKey("size"), UndefinedKey);
}

TEST(KeyAccess, OfTheClassHidesThatOfTheBaseClass) {
  const auto labelled = std::make_shared<Labelled>();
  labelled->setLabel("a");
  EXPECT_EQ(labelled->valueForKey("spine"), "|a|");
  Lines notices;
  const auto observer = Recorder::make("heard", notices);
  labelled->addObserver(observer, "spine", ObservingOptions::both, nullptr);
  labelled->setLabel("b");
  EXPECT_EQ(notices, (Lines{"heard: spine setting old=\"|a|\" new=\"|b|\""}));
}

TEST(KeyTable, FindsNothingWhenItIsEmpty) {
  const KeyTable none(nullptr, {});
  EXPECT_EQ(none.find("label"), nullptr);
  const KeyTable derived(&none, {KeyAccess::readOnly<&Shelf::spine>("spine")});
  ASSERT_NE(derived.find("spine"), nullptr);
  EXPECT_EQ(derived.find("spine")->set, nullptr);
  EXPECT_EQ(derived.find("label"), nullptr);
}

}  // namespace
