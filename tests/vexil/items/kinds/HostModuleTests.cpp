// SPDX-License-Identifier: Apache-2.0
// Labels are translated with the tables of the module that has the class of the item, or of the
// collection that makes it. The words of a date transformer are translated in the same way.
#include "HostModule.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <ternwood/Ternwood.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/Clock.h>
#include "tests/support/DateTesting.h"

#include <array>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Value;

constexpr std::array tables = std::to_array<platform::EmbeddedStrings>({
    {"en", R"("domain.both" = "The program's"; "domain.program" = "The program's alone";)"},
});
const platform::BundleRegistration registration(&tables, tables);

/// A kind of the program's own, in the same words as the library's.
class ProgramDomain : public KRAVTWVKind<ProgramDomain, KRAVTWVDomainVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
};

Value domain(const char* name) {
  return Value::dictionary({{kTWDomainName, name}});
}

struct HostModule : testing::Test {
  void SetUp() override {
    platform::setPreferredLanguage("en");
    module = ::dlopen(HOST_MODULE, RTLD_NOW);
    ASSERT_NE(module, nullptr) << ::dlerror();
    make = reinterpret_cast<decltype(make)>(::dlsym(module, "makeModuleDomain"));
    ASSERT_NE(make, nullptr);
    makeEngine = reinterpret_cast<decltype(makeEngine)>(::dlsym(module, "makeModuleEngine"));
    ASSERT_NE(makeEngine, nullptr);
    makeDates = reinterpret_cast<decltype(makeDates)>(::dlsym(module, "makeModuleDates"));
    ASSERT_NE(makeDates, nullptr);
  }
  [[nodiscard]] Value moduleLabel(const char* name) const {
    std::shared_ptr<KRAVTWVItemVexil> item;
    make(domain(name), item);
    return item->label();
  }
  void* module = nullptr;  // stays loaded: its tables are known to the program from now on
  decltype(&makeModuleDomain) make = nullptr;
  decltype(&makeModuleEngine) makeEngine = nullptr;
  decltype(&makeModuleDates) makeDates = nullptr;
};

/// The labels of an engine's groups, one after the other.
std::string labelsOf(const KRAVTWVEngineVexil& engine) {
  std::string text;
  for (const auto& group : *engine.root()->children()) {
    text += (text.empty() ? "" : ", ") + group->label().displayText();
  }
  return text;
}

TEST_F(HostModule, TranslatesTheLabelsOfItsOwnKinds) {
  EXPECT_EQ(moduleLabel("domain.both"), Value("The module's"));
  EXPECT_EQ(moduleLabel("domain.module"), Value("The module's alone"));
  EXPECT_EQ(moduleLabel("domain.program"), Value("domain.program")) << "not the program's words";
}

TEST_F(HostModule, LeavesThoseOfTheProgramAlone) {
  const auto label = [](const char* name) {
    return ProgramDomain::itemWithDomain(domain(name))->label();
  };
  EXPECT_EQ(label("domain.both"), Value("The program's"));
  EXPECT_EQ(label("domain.program"), Value("The program's alone"));
  EXPECT_EQ(label("domain.module"), Value("domain.module"));
}

TEST_F(HostModule, LeavesThoseOfTheLibraryAlone) {
  EXPECT_EQ(KRAVTWVDomainVexil::itemWithDomain(domain("domain.both"))->label(),
            Value("The program's"));
}

TEST_F(HostModule, LabelsTheGroupsOfItsOwnEngine) {
  std::shared_ptr<KRAVTWVEngineVexil> engine;
  makeEngine(true, engine);
  ASSERT_NE(engine, nullptr);
  // It has no text for events that run. The key is shown, not the library's text.
  EXPECT_EQ(labelsOf(*engine), "engine.scheduler.active, The module's, Queue");
  engine->root()->setChildren(nullptr);
  engine->updateItemsForEngine();
  EXPECT_EQ(labelsOf(*engine), "engine.scheduler.active, The module's, Queue");
}

TEST_F(HostModule, LabelsTheGroupsOfAnEngineThatDoesNotSayItsClassOnceItIsMade) {
  std::shared_ptr<KRAVTWVEngineVexil> engine;
  makeEngine(false, engine);
  ASSERT_NE(engine, nullptr);
  EXPECT_EQ(labelsOf(*engine), "Running, On Demand, Pending");
  engine->root()->setChildren(nullptr);
  engine->updateItemsForEngine();
  EXPECT_EQ(labelsOf(*engine), "engine.scheduler.active, The module's, Queue");
}

TEST_F(HostModule, LeavesTheGroupsOfTheLibrarysEngineAlone) {
  EXPECT_EQ(labelsOf(KRAVTWVEngineVexil()), "Running, On Demand, Pending");
}

/// The texts of a date of today and of one of tomorrow at half past ten.
std::string textsOf(const KRAVTWVRelativeDateTransformer& dates) {
  dates.dateFormatter()->setLocaleIdentifier("de_DE");
  dates.dateFormatter()->setTimeZoneName("UTC");
  const test::User user("de_DE", "UTC");
  const platform::ScopedClock clock(test::at(2026, 1, 14, 10, 30));
  return dates.transformedValue(test::at(2026, 1, 14, 10, 30)).displayText() + ", " +
         dates.transformedValue(test::at(2026, 1, 15, 10, 30)).displayText();
}

TEST_F(HostModule, HasItsOwnWordsForTodayAndTomorrow) {
  std::shared_ptr<KRAVTWVRelativeDateTransformer> dates;
  makeDates(dates);
  ASSERT_NE(dates, nullptr);
  // It has no format for today, so the key is the format.
  EXPECT_EQ(textsOf(*dates), "today.10:30, One day more: 10:30");
}

TEST_F(HostModule, LeavesTheLibrarysWordsForTodayAndTomorrowAlone) {
  EXPECT_EQ(textsOf(KRAVTWVRelativeDateTransformer()), "Today, 10:30, Tomorrow, 10:30");
}

}  // namespace
