// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

namespace monitor {

/// An instant, and what a wall clock in some zone shows.
using Instant = std::chrono::sys_seconds;
using LocalTime = std::chrono::local_seconds;

/// There is no time zone with a name; `what()` says which name.
class UnknownZone : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A time zone: when its clocks change, and what they show. A value, cheap to copy.
class Zone {
 public:
  /// The machine's zone, as TZ or /etc/localtime says at the first call. When TZ has a rule in
  /// place of a name, the zone keeps the present offset and its clocks never change.
  static Zone ofMachine();

  /// A zone by its name in the tz database ("Europe/Berlin"). Throws `UnknownZone`.
  static Zone named(const std::string& name);

  /// The time between two clock changes.
  struct Period {
    Instant begin;                      ///< the change at its beginning, or `Instant::min()`
    Instant end;                        ///< the change at its end, or `Instant::max()`
    std::chrono::seconds offset;        ///< what to add to UTC
    std::chrono::seconds offsetBefore;  ///< the offset before `begin`; `offset` when nothing was
  };

  /// The period that an instant is in. `begin` is in the period, `end` is not.
  [[nodiscard]] Period periodAt(Instant instant) const;

  [[nodiscard]] LocalTime localTime(Instant instant) const;

  /// "2026-03-29 03:05" by the clocks of the zone; with seconds: "2026-03-29 03:05:09".
  [[nodiscard]] std::string text(Instant instant, bool seconds = false) const;

  /// Makes this ICU's default zone, in which the library shows dates and counts days.
  void makeDefault() const;

  [[nodiscard]] std::string name() const;

 private:
  struct Rules;
  explicit Zone(std::shared_ptr<const Rules> rules);
  std::shared_ptr<const Rules> _rules;
};

}  // namespace monitor
