// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

namespace monitor {

/// An instant, and what a clock on the wall of some zone shows.
using Instant = std::chrono::sys_seconds;
using LocalTime = std::chrono::local_seconds;

/// There is no time zone of that name; `what()` says which.
class UnknownZone : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A time zone: when its clocks are changed, and what they show. A value, cheap to copy.
class Zone {
 public:
  /// The machine's own, as TZ or /etc/localtime says; what it says at the first call counts.
  /// Where TZ has a rule in place of a name, clocks are taken to stay as they are now.
  static Zone ofMachine();

  /// A zone by its name in the tz database ("Europe/Berlin"). Raises `UnknownZone`.
  static Zone named(const std::string& name);

  /// A stretch of time in which clocks run evenly, between two changes of them.
  struct Period {
    Instant begin;                      ///< the change that began it, or `Instant::min()`
    Instant end;                        ///< the change that ends it, or `Instant::max()`
    std::chrono::seconds offset;        ///< what to add to UTC
    std::chrono::seconds offsetBefore;  ///< the same before `begin`; `offset` if nothing was
  };

  /// The period an instant is in; its `begin` belongs to it, its `end` does not.
  [[nodiscard]] Period periodAt(Instant instant) const;

  [[nodiscard]] LocalTime localTime(Instant instant) const;

  /// "2026-03-29 03:05" by the clocks of the zone; with seconds: "2026-03-29 03:05:09".
  [[nodiscard]] std::string text(Instant instant, bool seconds = false) const;

  /// Makes it the user's zone, by which dates are shown and days counted: ICU's default.
  void makeDefault() const;

  [[nodiscard]] std::string name() const;

 private:
  struct Rules;
  explicit Zone(std::shared_ptr<const Rules> rules);
  std::shared_ptr<const Rules> _rules;
};

}  // namespace monitor
