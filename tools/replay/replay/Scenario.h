// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <ostream>

namespace replay {

/// Performs a scenario, an array of steps, and writes its transcript. A step prints a line
/// `== 4 list setEvents:`, then what happened, in the order in which it happened, then its result:
///
///     notice w list sortedEvents setting indexes=absent old=[] new=[...]
///     log TEXT              the library wrote a line to the system log
///     -> VALUE              the result
///     !! range              or the error that was raised; the next step goes on
///
/// Texts are English, whatever the user's language is. Nothing is left of the objects afterwards.
/// Raises `Malformed`, which names the step, before a step that cannot be performed.
void replayScenario(const vexil::platform::Value& steps, std::ostream& output);

}  // namespace replay
