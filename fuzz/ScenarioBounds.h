// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

namespace fuzz {

/// Whether a scenario certainly makes no tree that contains itself, which no tree must, and none
/// that holds so many items on so many ways that walking it takes for ever.
///
/// It goes by the names: whatever an object is given in a step may be in it from then on, and what
/// an object answers may be anything in it. So some scenarios are left out that would do no harm.
bool isBounded(const vexil::platform::Value& scenario);

}  // namespace fuzz
