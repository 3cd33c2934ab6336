// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace replay {

/// A scenario, or a step of it, that cannot be performed; the text says why. It is raised before
/// the step has done or printed anything.
class Malformed : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace replay
