// SPDX-License-Identifier: Apache-2.0
// A module that a host loads while it runs. It has a kind, engines and a strings table of its own.
#include "HostModule.h"

#include <vexil/platform/Bundle.h>

#include <array>
#include <typeinfo>

namespace platform = vexil::platform;

namespace host {

class ModuleDomain : public KRAVTWVKind<ModuleDomain, KRAVTWVDomainVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  ~ModuleDomain() override;
};

ModuleDomain::~ModuleDomain() = default;

class ModuleEngine : public KRAVTWVEngineVexil {
 public:
  ModuleEngine() : KRAVTWVEngineVexil(typeid(ModuleEngine)) {}
  ~ModuleEngine() override;
};

ModuleEngine::~ModuleEngine() = default;

class SilentModuleEngine : public KRAVTWVEngineVexil {
 public:
  SilentModuleEngine() = default;
  ~SilentModuleEngine() override;
};

SilentModuleEngine::~SilentModuleEngine() = default;

class ModuleDates : public KRAVTWVRelativeDateTransformer {
 public:
  ModuleDates() = default;
  ~ModuleDates() override;
};

ModuleDates::~ModuleDates() = default;

}  // namespace host

namespace {

constexpr std::array tables = std::to_array<platform::EmbeddedStrings>({
    {"en", R"("domain.both" = "The module's"; "domain.module" = "The module's alone";
              "engine.ondemand.available" = "The module's";
              "engine.scheduler.pending" = "Queue"; "tomorrow.%@" = "One day more: %@";)"},
});
const platform::BundleRegistration registration(&tables, tables);

}  // namespace

void makeModuleDomain(const platform::Value& record, std::shared_ptr<KRAVTWVItemVexil>& item) {
  item = host::ModuleDomain::itemWithDomain(record);
}

void makeModuleEngine(bool saysItsClass, std::shared_ptr<KRAVTWVEngineVexil>& engine) {
  if (saysItsClass) {
    engine = std::make_shared<host::ModuleEngine>();
  } else {
    engine = std::make_shared<host::SilentModuleEngine>();
  }
}

void makeModuleDates(std::shared_ptr<KRAVTWVRelativeDateTransformer>& dates) {
  dates = std::make_shared<host::ModuleDates>();
}
