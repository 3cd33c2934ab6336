// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <functional>
#include <memory>

namespace vexil::platform {

/// Tells what time it is. Called on whatever thread asks, on several at once.
using Clock = std::function<Date()>;

/// The current instant: what the latest `ScopedClock` tells, and the system's clock where there is
/// none. Each call asks the clock anew, so two calls in a row can fall on different days.
[[nodiscard]] Date currentDate();

/// Has a clock tell the time for the whole program, on all threads, for as long as this object
/// lives: in tests, and in hosts that replay the past or run in fast motion.
///
///     vexil::platform::ScopedClock clock(noon);             // stands still
///     vexil::platform::ScopedClock clock([&] { return now; });
///
/// Of several the latest counts, in whatever order they go. A clock may be asked a last time while
/// its object goes on another thread, but not after that call has returned.
class ScopedClock {
 public:
  /// Raises `InvalidArgument` when there is no clock to call.
  explicit ScopedClock(Clock clock);
  /// A clock that stands still.
  explicit ScopedClock(Date instant);
  ScopedClock(const ScopedClock&) = delete;
  ScopedClock& operator=(const ScopedClock&) = delete;
  ~ScopedClock();

 private:
  std::shared_ptr<const Clock> _clock;
};

}  // namespace vexil::platform
