// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>

namespace fuzz {

/// What does not hold is a finding.
inline void demand(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace fuzz
