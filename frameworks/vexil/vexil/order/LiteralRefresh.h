// SPDX-License-Identifier: Apache-2.0
// Internal to collections and tests: makes refreshes take the literal way.
#pragma once

namespace vexil::detail {

/// While an object of this class lives, refreshes on its thread take the literal way: they sort
/// every list, compare it as a whole and make an item for each record. Tests use it to check that
/// observers cannot tell the difference.
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
