// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/kinds/EventRepresenting.h>
#include <vexil/kinds/Kind.h>

#include <memory>
#include <set>
#include <string>
#include <utility>

namespace vexil {

/// The factory of running events, for the kind `Self` derived from `Base`.
template <class Self, class Base>
class ActiveEventFactories : public ItemFactories<Self, Base> {
 public:
  using ItemFactories<Self, Base>::ItemFactories;

  static std::shared_ptr<Self> itemWithActiveEvent(platform::Value event) {
    return ActiveEventFactories::itemWithRepresentedObject(std::move(event));
  }
};

}  // namespace vexil

/// The record of a running event: the event, and the host's own value for what it is doing. The
/// label is the event's name. It is read from the record itself and not through `representedEvent`.
class KRAVTWVActiveEventVexil
    : public vexil::ActiveEventFactories<KRAVTWVActiveEventVexil, KRAVTWVItemVexil>,
      public KRAVTWVEventRepresenting {
 public:
  template <class Self, class Base>
  using Factories = vexil::ActiveEventFactories<Self, Base>;

  using ActiveEventFactories::ActiveEventFactories;
  ~KRAVTWVActiveEventVexil() override;

  [[nodiscard]] vexil::platform::Value uniqueID() const override;
  [[nodiscard]] vexil::platform::Value label() const override;
  [[nodiscard]] bool supportsEnabled() const override { return false; }
  [[nodiscard]] vexil::platform::Value representedEvent() const override;
  /// What the host stored, unchanged.
  [[nodiscard]] virtual vexil::platform::Value activity() const;
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectedByRepresentedObject() const override;

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
};
