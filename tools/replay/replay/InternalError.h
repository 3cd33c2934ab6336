// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace replay {

/// The library contradicts itself, or this tool does; `what()` says how. It ends the scenario. No
/// step takes it for what its operation has thrown.
class InternalError : public std::logic_error {
  using std::logic_error::logic_error;
};

}  // namespace replay
