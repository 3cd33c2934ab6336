// SPDX-License-Identifier: Apache-2.0
// Internal to collections: the choice of the way a refresh takes.
#pragma once

namespace vexil::detail {

/// While one of these lives, refreshes on its thread take no shorter way: they sort every list,
/// compare it as a whole and make an item for each record. Observers must not be able to tell the
/// difference, which is what the tests use this for.
class LiteralRefresh {
 public:
  LiteralRefresh() { ++count(); }
  LiteralRefresh(const LiteralRefresh&) = delete;
  LiteralRefresh& operator=(const LiteralRefresh&) = delete;
  ~LiteralRefresh() { --count(); }

  [[nodiscard]] static bool isWanted() { return count() > 0; }

 private:
  static int& count() {
    thread_local int count = 0;
    return count;
  }
};

}  // namespace vexil::detail
