// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <ostream>

namespace replay {

/// Performs a scenario, which is an array of steps, and writes its transcript. A step prints a line
/// `== 4 list setEvents:`, then everything that happened, in order, then its result:
///
///     notice w list sortedEvents setting indexes=absent old=[] new=[...]
///     log TEXT              the library wrote a line to the system log
///     -> VALUE              the result
///     !! range              or the error that was thrown; the next step is still performed
///
/// docs/replay.md is the manual of scenarios and transcripts.
///
/// Texts are English, whatever the user's language is. At the end all objects are let go of, also
/// those that hold themselves. Throws `Malformed`, which names the step, when a step cannot be
/// performed; the steps before it have been. Throws `InternalError` when the library contradicts
/// itself.
void replayScenario(const vexil::platform::Value& steps, std::ostream& output);

}  // namespace replay
