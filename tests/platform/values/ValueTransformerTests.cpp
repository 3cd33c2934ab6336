// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/ValueTransformer.h>

#include <memory>
#include <string>
#include <type_traits>

namespace platform = vexil::platform;

namespace {

using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;
using platform::ValueTransformer;

static_assert(std::is_abstract_v<ValueTransformer>);
static_assert(!std::is_copy_constructible_v<ValueTransformer>);

/// Says nothing of the reverse, and is its own.
class Negated : public ValueTransformer {
 public:
  [[nodiscard]] Value::Kind transformedValueClass() const override { return Value::Kind::boolean; }
  [[nodiscard]] Value transformedValue(const Value& value) const override {
    return !value.booleanReading();
  }
};

/// Transforms in one direction only.
class Length : public ValueTransformer {
 public:
  [[nodiscard]] Value::Kind transformedValueClass() const override { return Value::Kind::integer; }
  [[nodiscard]] bool allowsReverseTransformation() const override { return false; }
  [[nodiscard]] Value transformedValue(const Value& value) const override {
    return value.string().size();
  }
};

/// Transforms in both directions, and has a property.
class Suffixed : public ValueTransformer {
 public:
  [[nodiscard]] Value::Kind transformedValueClass() const override { return Value::Kind::string; }
  [[nodiscard]] Value transformedValue(const Value& value) const override {
    return std::string(value.string()) + suffix().displayText();
  }
  [[nodiscard]] Value reverseTransformedValue(const Value& value) const override {
    return value.string().substr(0, value.string().size() - suffix().string().size());
  }
  [[nodiscard]] Value suffix() const { return read(_suffix); }
  void setSuffix(const Value& suffix) { assign("suffix", _suffix, suffix); }

 protected:
  [[nodiscard]] const KeyTable& keyTable() const override {
    static const KeyTable table(
        nullptr, {KeyAccess::readWrite<&Suffixed::suffix, &Suffixed::setSuffix>("suffix")});
    return table;
  }

 private:
  Value _suffix = "!";
};

TEST(ValueTransformer, AllowsReverseTransformationUnlessItsClassDoesNot) {
  EXPECT_TRUE(std::make_shared<Negated>()->allowsReverseTransformation());
  EXPECT_FALSE(std::make_shared<Length>()->allowsReverseTransformation());
}

TEST(ValueTransformer, IsItsOwnReverseUnlessItSaysOtherwise) {
  const auto negated = std::make_shared<Negated>();
  EXPECT_EQ(negated->reverseTransformedValue(true).boolean(), false);
  const auto suffixed = std::make_shared<Suffixed>();
  EXPECT_EQ(suffixed->transformedValue("a"), Value("a!"));
  EXPECT_EQ(suffixed->reverseTransformedValue("a!"), Value("a"));
}

TEST(ValueTransformer, RaisesWhenItIsAskedForAReverseThatItDoesNotAllow) {
  const auto length = std::make_shared<Length>();
  EXPECT_EQ(length->transformedValue("four"), Value(4));
  EXPECT_THROW((void)length->reverseTransformedValue(4), platform::InvalidArgument);
}

TEST(ValueTransformer, TellsWhatItYields) {
  EXPECT_EQ(std::make_shared<Length>()->transformedValueClass(), Value::Kind::integer);
}

TEST(ValueTransformer, HasTheKeysOfItsClassAndNoOther) {
  const auto suffixed = std::make_shared<Suffixed>();
  suffixed->setValueForKey("?", "suffix");
  EXPECT_EQ(suffixed->valueForKey("suffix"), Value("?"));
  EXPECT_EQ(suffixed->transformedValue("a"), Value("a?"));
  EXPECT_THROW((void)std::make_shared<Length>()->valueForKey("suffix"), platform::UndefinedKey);
}

}  // namespace
