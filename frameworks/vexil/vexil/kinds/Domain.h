// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/kinds/Kind.h>

#include <memory>
#include <utility>

namespace vexil {

/// The factory of domains, for the kind `Self` derived from `Base`.
template <class Self, class Base>
class DomainFactories : public ItemFactories<Self, Base> {
 public:
  using ItemFactories<Self, Base>::ItemFactories;

  static std::shared_ptr<Self> itemWithDomain(platform::Value domain) {
    return DomainFactories::itemWithRepresentedObject(std::move(domain));
  }
};

}  // namespace vexil

/// A domain record, always a group.
class KRAVTWVDomainVexil : public vexil::DomainFactories<KRAVTWVDomainVexil, KRAVTWVItemVexil> {
 public:
  template <class Self, class Base>
  using Factories = vexil::DomainFactories<Self, Base>;

  using DomainFactories::DomainFactories;
  ~KRAVTWVDomainVexil() override;

  [[nodiscard]] vexil::platform::Value uniqueID() const override;
  /// The domain's name. It is translated when the strings table of the receiver's class has it as a
  /// key.
  [[nodiscard]] vexil::platform::Value label() const override;
  [[nodiscard]] bool isGroup() const override { return true; }
};
