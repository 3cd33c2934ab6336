// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <vexil/platform/NetService.h>

#include <memory>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::NetService;
using platform::Object;
using platform::Value;

std::shared_ptr<NetService> service(Value name, Value type = "_ipp._tcp.",
                                    Value domain = "local.") {
  return std::make_shared<NetService>(std::move(name), std::move(type), std::move(domain));
}

TEST(NetService, GivesWhatItWasMadeOf) {
  const auto made = service("Printer");
  EXPECT_EQ(made->name(), "Printer");
  EXPECT_EQ(made->type(), "_ipp._tcp.");
  EXPECT_EQ(made->domain(), "local.");
}

TEST(NetService, MayLackEachOfItsParts) {
  const auto bare = service(Value(), Value(), Value());
  EXPECT_TRUE(bare->name().isAbsent());
  EXPECT_TRUE(bare->type().isAbsent());
  EXPECT_TRUE(bare->domain().isAbsent());
  EXPECT_TRUE(bare->isEqual(*service(Value(), Value(), Value())));
  EXPECT_FALSE(bare->isEqual(*service("", Value(), Value())));
}

TEST(NetService, IsEqualWhenAllThreePartsAre) {
  const std::string lengthy(100, 'n');
  EXPECT_TRUE(service(lengthy)->isEqual(*service(lengthy)));
  EXPECT_EQ(service(lengthy)->hash(), service(lengthy)->hash());
  EXPECT_FALSE(service("a")->isEqual(*service("b")));
  EXPECT_FALSE(service("a")->isEqual(*service("a", "_http._tcp.")));
  EXPECT_FALSE(service("a")->isEqual(*service("a", "_ipp._tcp.", "example.com.")));
  EXPECT_FALSE(service("a")->isEqual(*service("A"))) << "case matters";
  EXPECT_FALSE(service("a", "b", "c")->isEqual(*service("c", "b", "a")));
}

TEST(NetService, IsEqualToItselfAndToNothingElse) {
  struct Other : Object {};
  const auto made = service("a");
  EXPECT_TRUE(made->isEqual(*made));
  EXPECT_FALSE(made->isEqual(Other()));
}

TEST(NetService, IsComparedByContentInsideValues) {
  const Value one = Value::array({service("a"), service("b")});
  const Value two = Value::array({service("a"), service("b")});
  EXPECT_EQ(one, two);
  EXPECT_EQ(one.hash(), two.hash());
  EXPECT_NE(one, Value::array({service("b"), service("a")}));
}

TEST(NetService, HasAnIdentifierOfItsThreeParts) {
  const auto made = service("Office");
  EXPECT_EQ(made->identifier(), "local.:_ipp._tcp.:Office");
  EXPECT_TRUE(made->identifier().sharesStorageWith(made->identifier())) << "made once";
  EXPECT_EQ(service("")->identifier(), "local.:_ipp._tcp.:");
  EXPECT_EQ(service(Value(), Value(), Value())->identifier(), "(null):(null):(null)");
  EXPECT_EQ(service(5, "t", true)->identifier(), "true:t:5");
}

TEST(NetService, MakesItsIdentifierAnewWhereAnObjectDescribesItself) {
  struct Counter : Object {
    [[nodiscard]] std::string description() const override { return std::to_string(++count); }
    mutable int count = 0;
  };
  const auto made = service(std::make_shared<Counter>(), "t", "d");
  EXPECT_EQ(made->identifier(), "d:t:1");
  EXPECT_EQ(made->identifier(), "d:t:2");
}

TEST(NetService, FoldsTheCaseOfItsDomain) {
  const auto made = service("a", "t", "\u00c9T\u00c9 of a domain with many characters.");
  EXPECT_EQ(made->caseFoldedDomain(), "\u00e9t\u00e9 of a domain with many characters.");
  EXPECT_TRUE(made->caseFoldedDomain().sharesStorageWith(made->caseFoldedDomain())) << "made once";
  EXPECT_EQ(service("a", "t", "")->caseFoldedDomain(), "");
  EXPECT_TRUE(service("a", "t", Value())->caseFoldedDomain().isAbsent());
  EXPECT_TRUE(service("a", "t", 5)->caseFoldedDomain().isAbsent());
}

TEST(NetService, ComparesItsValuesWithoutAskingADerivedClass) {
  struct Unequal : NetService {
    using NetService::NetService;
    [[nodiscard]] bool isEqual(const Object& /*other*/) const override { return false; }
  };
  const Unequal one("a", "t", "d");
  EXPECT_FALSE(one.isEqual(*service("a", "t", "d")));
  EXPECT_TRUE(one.hasValuesOf(*service("a", "t", "d")));
  EXPECT_FALSE(one.hasValuesOf(*service("b", "t", "d")));
  EXPECT_FALSE(one.hasValuesOf(*service("a", "u", "d")));
  EXPECT_FALSE(one.hasValuesOf(*service("a", "t", "e")));
}

}  // namespace
