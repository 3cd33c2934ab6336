// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/kinds/EventRepresenting.h>
#include <vexil/kinds/Kind.h>

#include <memory>
#include <set>
#include <string>
#include <utility>

namespace vexil {

/// The factory of queued triggers, for the kind `Self` derived from `Base`.
template <class Self, class Base>
class QueuedTriggerFactories : public ItemFactories<Self, Base> {
 public:
  using ItemFactories<Self, Base>::ItemFactories;

  static std::shared_ptr<Self> itemWithQueuedTrigger(platform::Value trigger) {
    return QueuedTriggerFactories::itemWithRepresentedObject(std::move(trigger));
  }
};

}  // namespace vexil

/// A queued trigger record: an event and when it fires. The label is the event's name. It is read
/// from the record itself and not through `representedEvent`.
class KRAVTWVQueuedTriggerVexil
    : public vexil::QueuedTriggerFactories<KRAVTWVQueuedTriggerVexil, KRAVTWVItemVexil>,
      public KRAVTWVEventRepresenting {
 public:
  template <class Self, class Base>
  using Factories = vexil::QueuedTriggerFactories<Self, Base>;

  using QueuedTriggerFactories::QueuedTriggerFactories;
  ~KRAVTWVQueuedTriggerVexil() override;

  [[nodiscard]] vexil::platform::Value uniqueID() const override;
  [[nodiscard]] vexil::platform::Value label() const override;
  [[nodiscard]] vexil::platform::Value representedEvent() const override;
  /// The date in the record's trigger record.
  [[nodiscard]] virtual vexil::platform::Value triggerDate() const;
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectedByRepresentedObject() const override;

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;
};
