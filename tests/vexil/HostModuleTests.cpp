// SPDX-License-Identifier: Apache-2.0
// A label is translated by the tables of the module that holds the item's own class.
#include "HostModule.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <platform/Bundle.h>
#include <ternwood/Ternwood.h>

#include <array>

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
  }
  [[nodiscard]] Value moduleLabel(const char* name) const {
    std::shared_ptr<KRAVTWVItemVexil> item;
    make(domain(name), item);
    return item->label();
  }
  void* module = nullptr;  // stays loaded: its tables are known to the program from now on
  decltype(&makeModuleDomain) make = nullptr;
};

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

}  // namespace
