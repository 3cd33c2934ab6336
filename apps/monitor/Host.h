// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <vector>

#include "monitor/Collections.h"
#include "monitor/Tables.h"
#include "monitor/Zone.h"

namespace monitor {

/// Feeds the collections with what is below a root: cron tables, scripts that can be run on demand,
/// and processes. It does not feed services.
class Host {
 public:
  Host(std::filesystem::path root, Zone zone);

  /// Reads everything and hands it to the collections. Returns the warnings that the last refresh
  /// did not give. Throws `TablesNotFound`, and then changes nothing.
  std::vector<Warning> refresh(Instant now);

  /// The same without reading the tables. For times when the tables have not changed.
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
