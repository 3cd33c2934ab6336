// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/kinds/Event.h>

/// An event that may be run on demand. It shows its data like any event, but offers no switch.
class KRAVTWVOnDemandVexil : public KRAVTWVKind<KRAVTWVOnDemandVexil, KRAVTWVEventVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  ~KRAVTWVOnDemandVexil() override;

  [[nodiscard]] bool supportsEnabled() const override { return false; }
};
