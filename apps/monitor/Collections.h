// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsVexil.h>

#include <memory>

namespace monitor {

/// The three collections.
struct Collections {
  std::shared_ptr<KRAVTWVEventStoreVexil> events = std::make_shared<KRAVTWVEventStoreVexil>();
  std::shared_ptr<KRAVTWVEngineVexil> engine = std::make_shared<KRAVTWVEngineVexil>();
  std::shared_ptr<KRAVTWVServicesVexil> services = std::make_shared<KRAVTWVServicesVexil>();
};

/// What the collections hold at one moment, to be compared with a later snapshot.
struct Snapshot {
  explicit Snapshot(const Collections& collections)
      : events(collections.events->sortedEvents()),
        active(collections.engine->activeEvents()),
        services(*collections.services->sortedServices()) {}

  vexil::platform::Value events;
  vexil::platform::Value active;
  KRAVTWVNetServiceArray services;
};

}  // namespace monitor
