// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>

namespace fuzz {

/// Ends the process, which is a finding, unless the condition is true.
inline void demand(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace fuzz
