// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <vexil/avahi/ServiceFold.h>

#include <algorithm>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/Property.h"

namespace {

using vexil::avahi::ServiceFold;
using vexil::avahi::withFinalDot;
using Place = ServiceFold::Place;

constexpr Place kWired4{2, 0};
constexpr Place kWired6{2, 1};
constexpr Place kWireless4{3, 0};

std::string text(const ServiceFold::Service& service) {
  if (!service) {
    return "none";
  }
  return std::string(service->name().string()) + '|' + std::string(service->type().string()) + '|' +
         std::string(service->domain().string());
}

std::vector<std::string> texts(const std::vector<ServiceFold::Service>& services) {
  std::vector<std::string> result;
  for (const auto& service : services) {
    result.push_back(text(service));
  }
  return result;
}

TEST(FinalDot, IsAddedWhereItIsMissing) {
  EXPECT_EQ(withFinalDot("local"), "local.");
  EXPECT_EQ(withFinalDot("_ipp._tcp"), "_ipp._tcp.");
  EXPECT_EQ(withFinalDot("sub.example.org"), "sub.example.org.");
}

TEST(FinalDot, IsLeftAloneWhereItIs) {
  EXPECT_EQ(withFinalDot("local."), "local.");
  EXPECT_EQ(withFinalDot("_ipp._tcp."), "_ipp._tcp.");
}

TEST(FinalDot, AloneIsTheRoot) {
  EXPECT_EQ(withFinalDot("."), ".");
  EXPECT_EQ(withFinalDot(""), ".");
}

TEST(FinalDot, ThatIsEscapedBelongsToTheLabel) {
  EXPECT_EQ(withFinalDot(R"(Inc\.)"), R"(Inc\..)");
  EXPECT_EQ(withFinalDot(R"(\.)"), R"(\..)");
  EXPECT_EQ(withFinalDot(R"(Inc\\\.)"), R"(Inc\\\..)");
}

TEST(FinalDot, AfterAnEscapedBackslashIsOne) {
  EXPECT_EQ(withFinalDot(R"(back\\.)"), R"(back\\.)");
  EXPECT_EQ(withFinalDot(R"(\\.)"), R"(\\.)");
}

PROPERTY(FinalDot, AddedTwiceIsAddedOnce, ()) {
  const auto name = *rc::gen::container<std::string>(rc::gen::element('a', '.', '\\'));
  const std::string once = withFinalDot(name);
  RC_ASSERT(once.ends_with('.'));
  RC_ASSERT(once.starts_with(name));
  RC_ASSERT(once.size() <= name.size() + 1);
  // A name that ends in a backslash escapes nothing; a dot behind it would be read as escaped.
  RC_PRE(!name.ends_with('\\'));
  RC_ASSERT(withFinalDot(once) == once);
}

TEST(ServiceFold, TellsAServiceWithItsFirstCopyOnly) {
  ServiceFold fold;
  EXPECT_EQ(text(fold.appeared("Printer", "_ipp._tcp", "local", kWired4)),
            "Printer|_ipp._tcp.|local.");
  EXPECT_EQ(text(fold.appeared("Printer", "_ipp._tcp", "local", kWired6)), "none");
  EXPECT_EQ(text(fold.appeared("Printer", "_ipp._tcp", "local", kWireless4)), "none");
  EXPECT_EQ(fold.size(), 1U);
}

TEST(ServiceFold, TellsTheEndWithTheLastCopyOnly) {
  ServiceFold fold;
  fold.appeared("Printer", "_ipp._tcp", "local", kWired4);
  fold.appeared("Printer", "_ipp._tcp", "local", kWired6);
  fold.appeared("Printer", "_ipp._tcp", "local", kWireless4);
  EXPECT_EQ(text(fold.disappeared("Printer", "_ipp._tcp", "local", kWired6)), "none");
  EXPECT_EQ(text(fold.disappeared("Printer", "_ipp._tcp", "local", kWired4)), "none");
  EXPECT_EQ(text(fold.disappeared("Printer", "_ipp._tcp", "local", kWireless4)),
            "Printer|_ipp._tcp.|local.");
  EXPECT_EQ(fold.size(), 0U);
}

TEST(ServiceFold, LosesTheObjectThatItFound) {
  ServiceFold fold;
  const auto found = fold.appeared("Printer", "_ipp._tcp", "local", kWired4);
  EXPECT_EQ(fold.disappeared("Printer", "_ipp._tcp", "local", kWired4), found);
}

TEST(ServiceFold, FindsAServiceAnewAfterItsEnd) {
  ServiceFold fold;
  const auto before = fold.appeared("Printer", "_ipp._tcp", "local", kWired4);
  fold.disappeared("Printer", "_ipp._tcp", "local", kWired4);
  const auto after = fold.appeared("Printer", "_ipp._tcp", "local", kWired6);
  ASSERT_NE(after, nullptr);
  EXPECT_NE(after, before);
  EXPECT_TRUE(after->isEqual(*before));
}

TEST(ServiceFold, KeepsServicesThatDifferInOnePartApart) {
  ServiceFold fold;
  EXPECT_NE(fold.appeared("Printer", "_ipp._tcp", "local", kWired4), nullptr);
  EXPECT_NE(fold.appeared("printer", "_ipp._tcp", "local", kWired4), nullptr);
  EXPECT_NE(fold.appeared("Printer", "_http._tcp", "local", kWired4), nullptr);
  EXPECT_NE(fold.appeared("Printer", "_ipp._tcp", "example.org", kWired4), nullptr);
  EXPECT_EQ(text(fold.disappeared("Printer", "_http._tcp", "local", kWired4)),
            "Printer|_http._tcp.|local.");
  EXPECT_EQ(fold.size(), 3U);
}

TEST(ServiceFold, TakesACopyWithAndWithoutFinalDotsForTheSameService) {
  ServiceFold fold;
  EXPECT_NE(fold.appeared("Printer", "_ipp._tcp", "local", kWired4), nullptr);
  EXPECT_EQ(fold.appeared("Printer", "_ipp._tcp.", "local.", kWired6), nullptr);
  EXPECT_EQ(fold.disappeared("Printer", "_ipp._tcp.", "local.", kWired4), nullptr);
  EXPECT_NE(fold.disappeared("Printer", "_ipp._tcp", "local", kWired6), nullptr);
}

TEST(ServiceFold, LeavesDotsOfTheNameAlone) {
  ServiceFold fold;
  EXPECT_EQ(text(fold.appeared("Floor 2. Left", "_ipp._tcp", "local", kWired4)),
            "Floor 2. Left|_ipp._tcp.|local.");
  EXPECT_EQ(text(fold.appeared("Inc.", "_ipp._tcp", "local", kWired4)), "Inc.|_ipp._tcp.|local.");
  EXPECT_NE(fold.appeared("Inc", "_ipp._tcp", "local", kWired4), nullptr);
}

TEST(ServiceFold, CountsTheSameCopyOnce) {
  ServiceFold fold;
  fold.appeared("Printer", "_ipp._tcp", "local", kWired4);
  EXPECT_EQ(fold.appeared("Printer", "_ipp._tcp", "local", kWired4), nullptr);
  EXPECT_NE(fold.disappeared("Printer", "_ipp._tcp", "local", kWired4), nullptr);
}

TEST(ServiceFold, IgnoresTheEndOfACopyItNeverSaw) {
  ServiceFold fold;
  EXPECT_EQ(fold.disappeared("Printer", "_ipp._tcp", "local", kWired4), nullptr);
  fold.appeared("Printer", "_ipp._tcp", "local", kWired4);
  EXPECT_EQ(fold.disappeared("Printer", "_ipp._tcp", "local", kWireless4), nullptr);
  EXPECT_EQ(fold.disappeared("Other", "_ipp._tcp", "local", kWired4), nullptr);
  EXPECT_EQ(fold.size(), 1U);
}

TEST(ServiceFold, GivesUpEverythingAtOnceByDomainTypeAndName) {
  ServiceFold fold;
  fold.appeared("b", "_ipp._tcp", "local", kWired4);
  fold.appeared("a", "_ipp._tcp", "local", kWired4);
  fold.appeared("a", "_ipp._tcp", "local", kWired6);
  fold.appeared("c", "_http._tcp", "local", kWired4);
  fold.appeared("z", "_ipp._tcp", "example.org", kWired4);
  EXPECT_EQ(texts(fold.clear()),
            (std::vector<std::string>{"z|_ipp._tcp.|example.org.", "c|_http._tcp.|local.",
                                      "a|_ipp._tcp.|local.", "b|_ipp._tcp.|local."}));
  EXPECT_EQ(fold.size(), 0U);
  EXPECT_TRUE(fold.clear().empty());
}

TEST(ServiceFold, BeginsAnewAfterItGaveUpEverything) {
  ServiceFold fold;
  fold.appeared("Printer", "_ipp._tcp", "local", kWired4);
  fold.appeared("Printer", "_ipp._tcp", "local", kWired6);
  ASSERT_EQ(fold.clear().size(), 1U);
  EXPECT_EQ(fold.disappeared("Printer", "_ipp._tcp", "local", kWired6), nullptr);
  EXPECT_NE(fold.appeared("Printer", "_ipp._tcp", "local", kWired4), nullptr);
  EXPECT_NE(fold.disappeared("Printer", "_ipp._tcp", "local", kWired4), nullptr);
}

/// Whatever copies come and go: a service is found and not lost exactly if it has a copy.
PROPERTY(ServiceFold, AgreesWithTheSetOfAllCopies, ()) {
  using Copy = std::tuple<std::string, std::string, int, int>;
  ServiceFold fold;
  std::set<Copy> copies;
  std::set<std::string> shown;
  const int steps = *rc::gen::inRange(0, 60);
  for (int i = 0; i < steps; ++i) {
    const auto name = *rc::gen::element<std::string>("a", "b");
    const auto type = *rc::gen::element<std::string>("_x._tcp", "_y._udp");
    const Place place{*rc::gen::inRange(1, 4), *rc::gen::inRange(0, 2)};
    const Copy copy(name, type, place.interface, place.protocol);
    const std::string expected = name + '|' + type + ".|local.";
    if (*rc::gen::arbitrary<bool>()) {
      copies.insert(copy);
      if (const auto service = fold.appeared(name, type, "local", place)) {
        RC_ASSERT(text(service) == expected);
        RC_ASSERT(shown.insert(expected).second);
      }
    } else {
      copies.erase(copy);
      if (const auto service = fold.disappeared(name, type, "local", place)) {
        RC_ASSERT(text(service) == expected);
        RC_ASSERT(shown.erase(expected) == 1U);
      }
    }
    std::set<std::string> there;
    for (const auto& [aName, aType, interface, protocol] : copies) {
      there.insert(aName + '|' + aType + ".|local.");
    }
    RC_ASSERT(shown == there);
    RC_ASSERT(fold.size() == there.size());
  }
  const auto rest = texts(fold.clear());
  RC_ASSERT(std::set<std::string>(rest.begin(), rest.end()) == shown);
}

}  // namespace
