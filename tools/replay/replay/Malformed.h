// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace replay {

/// A scenario or a step cannot be performed; `what()` says why. It is thrown before the step does
/// or prints anything.
class Malformed : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace replay
