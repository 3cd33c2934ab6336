// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <vector>

#include "monitor/Collections.h"
#include "monitor/Tables.h"
#include "monitor/Zone.h"

namespace monitor {

/// Feeds the collections from what is below a root: its cron tables, its scripts to be run on
/// demand, and its processes. Services come from elsewhere.
class Host {
 public:
  Host(std::filesystem::path root, Zone zone);

  /// Reads everything and hands it to the collections. Returns the warnings that the last refresh
  /// did not give. Raises `TablesNotFound`, with nothing changed.
  std::vector<Warning> refresh(Instant now);

  /// The same without the tables, for when only time has gone by.
  std::vector<Warning> refreshEngine(Instant now);

  [[nodiscard]] Collections& collections() { return _collections; }
  [[nodiscard]] const Zone& zone() const { return _zone; }

 private:
  std::filesystem::path _root;
  Zone _zone;
  Tables _tables;
  std::vector<Warning> _warnings;
  Collections _collections;
};

}  // namespace monitor
