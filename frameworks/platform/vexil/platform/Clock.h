// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <functional>
#include <memory>

namespace vexil::platform {

/// A function that returns the current time. It is called on any thread that asks, and on several
/// at once.
using Clock = std::function<Date()>;

/// The current instant: that of the latest `ScopedClock`, or of the system's clock when there is
/// none. Each call asks the clock again, so two calls in a row can fall on different days.
[[nodiscard]] Date currentDate();

/// Sets the clock for the whole program, on all threads, as long as this object lives. For tests,
/// and for hosts that replay the past or run in fast motion.
///
///     vexil::platform::ScopedClock clock(noon);             // stands still
///     vexil::platform::ScopedClock clock([&] { return now; });
///
/// When there are several, the one made last counts, in whatever order they are destroyed. A call
/// of `currentDate` that began on another thread before may still ask the clock while this object
/// is destroyed, or just after. When that call has returned, nothing asks the clock any more.
class ScopedClock {
 public:
  /// Throws `InvalidArgument` when `clock` is empty.
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
