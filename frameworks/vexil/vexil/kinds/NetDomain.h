// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/kinds/Group.h>

#include <memory>

namespace vexil {

/// The factory of network domains, for the kind `Self` derived from `Base`.
template <class Self, class Base>
class NetDomainFactories : public GroupFactories<Self, Base> {
 public:
  using GroupFactories<Self, Base>::GroupFactories;

  /// The name is label, identifier and represented object alike.
  static std::shared_ptr<Self> itemWithNetDomain(platform::Value name) {
    return NetDomainFactories::makeItem(name, name);
  }
};

}  // namespace vexil

/// A network domain: a group whose label and identifier are the domain's name.
class KRAVTWVNetDomainVexil
    : public vexil::NetDomainFactories<KRAVTWVNetDomainVexil, KRAVTWVGroupVexil> {
 public:
  template <class Self, class Base>
  using Factories = vexil::NetDomainFactories<Self, Base>;

  using NetDomainFactories::NetDomainFactories;
  ~KRAVTWVNetDomainVexil() override;
};
