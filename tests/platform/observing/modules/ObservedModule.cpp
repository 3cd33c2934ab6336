// SPDX-License-Identifier: Apache-2.0
// A module with an observable class, which a host loads and unloads. It is built twice, with
// different classes that are laid out alike.
#include "ObservedModule.h"

namespace platform = vexil::platform;

namespace {

class OBSERVED_CLASS : public platform::Observable {
 public:
  [[nodiscard]] int number() const { return 7; }
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const platform::Key& key) const override {
    return key.text() == "total" ? std::set<std::string>{OBSERVED_KEY} : std::set<std::string>();
  }

 protected:
  [[nodiscard]] const platform::KeyTable& keyTable() const override {
    using platform::KeyAccess;
    static const platform::KeyTable table(nullptr,
                                          {KeyAccess::readOnly<&OBSERVED_CLASS::number>("price"),
                                           KeyAccess::readOnly<&OBSERVED_CLASS::number>("count"),
                                           KeyAccess::readOnly<&OBSERVED_CLASS::number>("total")});
    return table;
  }
};

}  // namespace

void makeObserved(std::shared_ptr<platform::Observable>& object) {
  object = std::make_shared<OBSERVED_CLASS>();
}
