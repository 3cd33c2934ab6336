// SPDX-License-Identifier: Apache-2.0
// A domain's label in the words of the strings tables.
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>
#include <vexil/platform/Bundle.h>

#include <array>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::Lines;
using test::TreeRecorder;

// This program's own tables, as a host has them beside those that the library embeds.
constexpr std::array tables = std::to_array<platform::EmbeddedStrings>({
    {"en", R"("domain.test.maintenance" = "Maintenance"; "domain.test.english" = "Only English";)"},
    {"de", R"("domain.test.maintenance" = "Wartung"; "domain.test.e1" = "Verwechselt";)"},
});
const platform::BundleRegistration registration(&tables, tables);

std::shared_ptr<KRAVTWVDomainVexil> domain(const Value& name, const Value& uniqueID = "d1") {
  return KRAVTWVDomainVexil::itemWithDomain(
      Value::dictionary({{kTWDomainUniqueID, uniqueID}, {kTWDomainName, name}}));
}

struct DomainLabel : testing::Test {
  DomainLabel() { platform::setPreferredLanguage("en"); }
  ~DomainLabel() override { platform::setPreferredLanguage({}); }
};

TEST_F(DomainLabel, IsTheTranslationOfItsName) {
  EXPECT_EQ(domain("domain.test.maintenance")->label(), Value("Maintenance"));
  platform::setPreferredLanguage("de");
  EXPECT_EQ(domain("domain.test.maintenance")->label(), Value("Wartung"));
}

TEST_F(DomainLabel, IsTranslatedByTheLibrarysOwnTableToo) {
  EXPECT_EQ(domain("engine.scheduler.pending")->label(), Value("Pending"));
}

TEST_F(DomainLabel, IsReadAnewWhenTheLanguageChanges) {
  const auto item = domain("domain.test.maintenance");
  EXPECT_EQ(item->label(), Value("Maintenance"));
  platform::setPreferredLanguage("de-AT");
  EXPECT_EQ(item->label(), Value("Wartung"));
}

TEST_F(DomainLabel, IsTheNameItselfWithoutATranslation) {
  EXPECT_EQ(domain("Office")->label(), Value("Office"));
  EXPECT_EQ(domain("")->label(), Value(""));
  EXPECT_EQ(domain("domain.test.MAINTENANCE")->label(), Value("domain.test.MAINTENANCE"));
}

TEST_F(DomainLabel, FallsBackToEnglishBeforeTheNameItself) {
  platform::setPreferredLanguage("de");
  EXPECT_EQ(domain("domain.test.english")->label(), Value("Only English"));
}

TEST_F(DomainLabel, LeavesTheIdentifierAsTheRecordHasIt) {
  platform::setPreferredLanguage("de");
  const auto item = domain("domain.test.maintenance", "domain.test.e1");
  EXPECT_EQ(item->label(), Value("Wartung"));
  EXPECT_EQ(item->uniqueID(), Value("domain.test.e1"));
}

TEST_F(DomainLabel, IsAbsentWithoutAName) {
  EXPECT_TRUE(domain({})->label().isAbsent());
  EXPECT_TRUE(KRAVTWVDomainVexil::itemWithDomain({})->label().isAbsent());
}

TEST_F(DomainLabel, OfANameThatIsNoStringIsThatValue) {
  EXPECT_EQ(domain(7)->label(), Value(7));
  EXPECT_TRUE(domain(Value::null())->label().isNull());
}

TEST_F(DomainLabel, AloneIsTranslated) {
  EXPECT_EQ(KRAVTWVEventVexil::itemWithEvent(
                test::eventRecord("domain.test.maintenance", "domain.test.maintenance"))
                ->label(),
            Value("domain.test.maintenance"));
  EXPECT_EQ(KRAVTWVNetDomainVexil::itemWithNetDomain("domain.test.maintenance")->label(),
            Value("domain.test.maintenance"));
  EXPECT_EQ(KRAVTWVGroupVexil::itemWithLabelUniqueID("domain.test.maintenance", "g")->label(),
            Value("domain.test.maintenance"));
}

TEST_F(DomainLabel, IsAnnouncedInTranslation) {
  const auto item = domain("Office");
  const auto notices = TreeRecorder::of(item, {"label"});
  item->setRepresentedObject(Value::dictionary({{kTWDomainName, "domain.test.maintenance"}}));
  EXPECT_EQ(notices->take(), Lines{"(null) label setting old=\"Office\" new=\"Maintenance\""});
}

TEST(DomainItem, IsAGroupWithoutChildrenButNotExpandable) {
  EXPECT_TRUE(domain("Office")->isGroup());
  EXPECT_FALSE(domain("Office")->isExpandable());
  EXPECT_FALSE(domain("Office")->supportsEnabled());
  EXPECT_FALSE(domain("Office")->enabled());
}

}  // namespace
