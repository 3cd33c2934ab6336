// SPDX-License-Identifier: Apache-2.0
// Whether the tool notices that a copy does not have the rows of its outline.
#include <gtest/gtest.h>
#include <replay/Outline.h>
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <memory>
#include <string>

#include "ScenarioSupport.h"

namespace platform = vexil::platform;

namespace {

using platform::Value;
using replay::agree;
using test::send;

Value event(const char* id, const char* name) {
  return Value::dictionary({{kTWEventUniqueID, id}, {kTWEventName, name}, {kTWEventDomain, "d1"}});
}

/// Two domains, the first with two events. The copy has the outline's rows.
class Copy : public testing::Test {
 protected:
  Copy() {
    store->setDomains(
        Value::array({Value::dictionary({{kTWDomainUniqueID, "d1"}, {kTWDomainName, "One"}}),
                      Value::dictionary({{kTWDomainUniqueID, "d2"}, {kTWDomainName, "Two"}})}));
    store->setEvents(Value::array({event("a", "A"), event("b", "B")}));
    copy.apply(outline.update());
  }
  void SetUp() override { ASSERT_TRUE(agree(outline, copy)); }

  const std::shared_ptr<KRAVTWVEventStoreVexil> store = std::make_shared<KRAVTWVEventStoreVexil>();
  vexil::Outline outline{store};
  vexil::OutlineCopy copy;
};

TEST_F(Copy, WithoutRowsDisagrees) {
  EXPECT_FALSE(agree(outline, vexil::OutlineCopy()));
}

TEST_F(Copy, LacksARow) {
  store->setEvents(Value::array({event("a", "A"), event("b", "B"), event("c", "C")}));
  const vexil::OutlineUpdate update = outline.update();
  EXPECT_FALSE(agree(outline, copy));
  copy.apply(update);
  EXPECT_TRUE(agree(outline, copy));
}

TEST_F(Copy, HasARowTooMany) {
  store->setEvents(Value::array({event("a", "A")}));
  const vexil::OutlineUpdate update = outline.update();
  EXPECT_FALSE(agree(outline, copy));
  copy.apply(update);
  EXPECT_TRUE(agree(outline, copy));
}

TEST_F(Copy, HasAnotherState) {
  const Value renamed = Value::array({event("a", "A 2"), event("b", "B")});
  store->setEvents(renamed);
  const vexil::OutlineUpdate update = outline.update();
  EXPECT_FALSE(agree(outline, copy));
  copy.apply(update);
  EXPECT_TRUE(agree(outline, copy));
}

TEST_F(Copy, HasAnotherOrder) {
  const auto rows = store->root()->childAtIndex(0)->children();
  store->root()->childAtIndex(0)->setChildren(
      std::make_shared<KRAVTWVItemArray>(rows->rbegin(), rows->rend()));
  const vexil::OutlineUpdate update = outline.update();
  EXPECT_FALSE(agree(outline, copy));
  copy.apply(update);
  EXPECT_TRUE(agree(outline, copy));
}

TEST(RowsOfAnOutline, StopGoingDeeperAtSixtyFourLevels) {
  constexpr int levels = 67;
  std::vector<Value> steps = {test::group("G", "0", "i0")};
  for (int level = 1; level <= levels; ++level) {
    const std::string name = "i" + std::to_string(level);
    const std::string above = "i" + std::to_string(level - 1);
    steps.push_back(test::group("G", std::to_string(level).c_str(), name.c_str()));
    steps.push_back(send("addChild:", above.c_str(), {test::reference(name.c_str())}));
  }
  steps.push_back(send("outline", "i0", {}, "o"));
  steps.push_back(send("update", "o"));
  steps.push_back(send("rows", "o"));
  const std::string transcript = test::replayed(Value::array(steps)).transcript;
  const std::string rows = transcript.substr(transcript.find(" o rows\n"));

  const auto line = [](std::size_t spaces, int number) {
    const std::string text = std::to_string(number);
    return '\n' + std::string(spaces, ' ') + '#' + text + " \"" + text + "\" ";
  };
  EXPECT_NE(rows.find(line(0, 1)), std::string::npos);
  EXPECT_NE(rows.find(line(2, 2)), std::string::npos);
  EXPECT_NE(rows.find(line(126, 64)), std::string::npos);
  EXPECT_NE(rows.find(line(128, 65)), std::string::npos);
  EXPECT_NE(rows.find(line(128, 66)), std::string::npos);
  EXPECT_NE(rows.find(line(128, 67)), std::string::npos);
}

}  // namespace
