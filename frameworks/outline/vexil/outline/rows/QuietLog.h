// SPDX-License-Identifier: Apache-2.0
// Internal to the outline.
#pragma once

#include <vexil/platform/Log.h>

#include <exception>
#include <string>
#include <string_view>

namespace vexil::detail {

/// Logs the exception that is being handled, as that of `what`. Throws nothing, also when the sink
/// of the log does. Must be called in a handler.
inline void logCaughtException(std::string_view what) noexcept {
  try {
    try {
      throw;
    } catch (const std::exception& error) {
      platform::log(std::string(what) + " threw: " + error.what());
    } catch (...) {
      platform::log(std::string(what) + " threw");
    }
  } catch (...) {
    // There is nobody left to tell.
  }
}

}  // namespace vexil::detail
