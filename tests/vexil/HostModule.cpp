// SPDX-License-Identifier: Apache-2.0
// A module that a host loads while it runs: a kind of its own, and the strings table it speaks
// with.
#include "HostModule.h"

#include <platform/Bundle.h>

#include <array>

namespace host {

class ModuleDomain : public KRAVTWVKind<ModuleDomain, KRAVTWVDomainVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  ~ModuleDomain() override;
};

ModuleDomain::~ModuleDomain() = default;

}  // namespace host

namespace {

constexpr std::array tables = std::to_array<platform::EmbeddedStrings>({
    {"en", R"("domain.both" = "The module's"; "domain.module" = "The module's alone";)"},
});
const platform::BundleRegistration registration(&tables, tables);

}  // namespace

void makeModuleDomain(const platform::Value& record, std::shared_ptr<KRAVTWVItemVexil>& item) {
  item = host::ModuleDomain::itemWithDomain(record);
}
