// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

namespace fuzz {

/// Whether a scenario certainly makes no tree that contains itself, and none with so many ways to
/// so many items that walking it takes for ever. Such trees are misuse.
///
/// It looks only at names: what a step gives an object may be in it from then on, and what an
/// object returns may be anything in it. So it also leaves out some scenarios that would do no
/// harm.
bool isBounded(const vexil::platform::Value& scenario);

}  // namespace fuzz
