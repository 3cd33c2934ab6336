// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <replay/Names.h>
#include <replay/Registry.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using replay::Names;
using replay::Registry;

std::shared_ptr<KRAVTWVItemsVexil> object() {
  return std::make_shared<KRAVTWVItemsVexil>();
}

TEST(Registry, NumbersCountFromOneAndStay) {
  Registry registry;
  const auto a = object();
  const auto b = object();
  EXPECT_EQ(registry.numberOf(a), 1U);
  EXPECT_EQ(registry.numberOf(b), 2U);
  EXPECT_EQ(registry.numberOf(a), 1U);
}

TEST(Registry, ANumberSurvivesManyOthers) {
  Registry registry;
  const auto kept = object();
  EXPECT_EQ(registry.numberOf(kept), 1U);
  for (std::size_t number = 2; number < 5000; ++number) {
    ASSERT_EQ(registry.numberOf(object()), number);
  }
  EXPECT_EQ(registry.numberOf(kept), 1U);
  EXPECT_EQ(registry.survivors(), (std::vector<std::shared_ptr<platform::Object>>{kept}));
}

TEST(Registry, NamesAreTheFirstAndIndependentOfNumbers) {
  Registry registry;
  const auto a = object();
  EXPECT_EQ(registry.nameOf(*a), std::nullopt);
  EXPECT_EQ(registry.numberOf(a), 1U);
  EXPECT_EQ(registry.nameOf(*a), std::nullopt);
  registry.name(a, "a");
  registry.name(a, "b");
  EXPECT_EQ(registry.nameOf(*a), "a");
  EXPECT_EQ(registry.numberOf(a), 1U);
}

TEST(Registry, KeepsNothingAlive) {
  Registry registry;
  auto a = object();
  registry.name(a, "a");
  EXPECT_EQ(registry.numberOf(a), 1U);
  const std::weak_ptr<platform::Object> weak = a;
  a.reset();
  EXPECT_TRUE(weak.expired());
  EXPECT_TRUE(registry.survivors().empty());
}

TEST(Names, HoldWhatIsBoundToThem) {
  Registry registry;
  Names names(registry);
  auto a = object();
  const std::weak_ptr<platform::Object> weak = a;
  names.bind("a", a);
  a.reset();
  EXPECT_FALSE(weak.expired());
  ASSERT_NE(names.find("a"), nullptr);
  names.bind("a", 7);
  EXPECT_TRUE(weak.expired());
  EXPECT_EQ(*names.find("a"), Value(7));
}

TEST(Names, AnAbsentValueUnbinds) {
  Registry registry;
  Names names(registry);
  names.bind("a", "x");
  names.bind("a", {});
  EXPECT_EQ(names.find("a"), nullptr);
  names.bind("b", 1);
  names.bind("c", 2);
  names.unbind("b");
  EXPECT_EQ(names.find("b"), nullptr);
  names.unbindAll();
  EXPECT_EQ(names.find("c"), nullptr);
}

TEST(Names, NameObjectsForTheTranscript) {
  Registry registry;
  Names names(registry);
  const auto a = object();
  names.bind("first", a);
  names.bind("second", a);
  names.unbind("first");
  EXPECT_EQ(registry.nameOf(*a), "first");
}

}  // namespace
