// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string_view>

namespace vexil::platform {

/// A function that takes one line of the log, without its end of line.
using LogSink = std::function<void(std::string_view line)>;

/// Writes one line to the log: to the sink that was set, or to the system log and standard error
/// when none was set. There are no levels.
void log(std::string_view line);

/// Sends the log to `sink` from now on; to the default places when `sink` is empty. Returns the
/// sink that was set before. The sink is called on the thread that logs.
LogSink setLogSink(LogSink sink);

}  // namespace vexil::platform
