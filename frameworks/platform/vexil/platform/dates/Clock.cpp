// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Clock.h>
#include <vexil/platform/Error.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <utility>
#include <vector>

namespace vexil::platform {

namespace {

struct Clocks {
  std::mutex mutex;
  std::vector<std::shared_ptr<const Clock>> set;  ///< the latest comes last
};

Clocks& clocks() {
  static auto& all = *new Clocks;
  return all;
}

std::shared_ptr<const Clock> latestClock() {
  const std::lock_guard lock(clocks().mutex);
  return clocks().set.empty() ? nullptr : clocks().set.back();
}

Date systemDate() {
  using namespace std::chrono;
  constexpr sys_days reference(year(2001) / 1 / 1);
  // In doubles, because the clock counts in much smaller steps and may not reach back to 2001 in
  // its own type.
  return {duration<double>(system_clock::now() - reference).count()};
}

}  // namespace

Date currentDate() {
  // Called without the lock, so that a clock may ask for the time or set another clock.
  const auto clock = latestClock();
  return clock ? (*clock)() : systemDate();
}

ScopedClock::ScopedClock(Clock clock) {
  if (!clock) {
    throw InvalidArgument("no clock");
  }
  _clock = std::make_shared<const Clock>(std::move(clock));
  const std::lock_guard lock(clocks().mutex);
  clocks().set.push_back(_clock);
}

ScopedClock::ScopedClock(Date instant) : ScopedClock([instant] { return instant; }) {}

ScopedClock::~ScopedClock() {
  const std::lock_guard lock(clocks().mutex);
  std::erase(clocks().set, _clock);
}

}  // namespace vexil::platform
