// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <vexil/platform/Clock.h>
#include <vexil/platform/Error.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <type_traits>

namespace platform = vexil::platform;

namespace {

using platform::currentDate;
using platform::Date;
using platform::ScopedClock;

static_assert(!std::is_copy_constructible_v<ScopedClock>);
static_assert(!std::is_copy_assignable_v<ScopedClock>);

/// Seconds since 2001 by the system's clock, read in another way than the library does.
double systemSeconds() {
  const auto since1970 = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(since1970).count() - 11323.0 * 86'400;
}

TEST(Clock, TellsTheTimeOfTheSystem) {
  const double before = systemSeconds();
  const double now = currentDate().seconds;
  const double after = systemSeconds();
  EXPECT_LE(before, now + 1e-5);
  EXPECT_LE(now, after + 1e-5);
}

TEST(Clock, CountsFractionsOfASecond) {
  bool fraction = false;
  for (int i = 0; i < 100 && !fraction; ++i) {
    const double now = currentDate().seconds;
    fraction = now != static_cast<double>(static_cast<long long>(now));
  }
  EXPECT_TRUE(fraction);
}

TEST(Clock, StandsStillWhereItIsSetToAnInstant) {
  const ScopedClock clock(Date{1000.25});
  EXPECT_EQ(currentDate().seconds, 1000.25);
  EXPECT_EQ(currentDate().seconds, 1000.25);
}

TEST(Clock, IsAskedAnewEachTime) {
  double now = 0;
  const ScopedClock clock([&] { return Date{++now}; });
  EXPECT_EQ(currentDate().seconds, 1);
  EXPECT_EQ(currentDate().seconds, 2);
}

TEST(Clock, IsTheSystemsAgainWhenTheOneThatWasSetGoes) {
  { const ScopedClock clock(Date{5}); }
  EXPECT_GT(currentDate().seconds, 700e6);
}

TEST(Clock, ThatWasSetLastCounts) {
  const ScopedClock outer(Date{1});
  {
    const ScopedClock inner(Date{2});
    EXPECT_EQ(currentDate().seconds, 2);
  }
  EXPECT_EQ(currentDate().seconds, 1);
}

TEST(Clock, MayGoInAnyOrder) {
  auto first = std::make_unique<ScopedClock>(Date{1});
  auto second = std::make_unique<ScopedClock>(Date{2});
  first.reset();
  EXPECT_EQ(currentDate().seconds, 2);
  second.reset();
  EXPECT_GT(currentDate().seconds, 700e6);
}

TEST(Clock, MayItselfAskForTheTimeUnderAnother) {
  const ScopedClock fast([] {
    const ScopedClock fixed(Date{21});
    return Date{2 * currentDate().seconds};
  });
  EXPECT_EQ(currentDate().seconds, 42);
}

TEST(Clock, HasToBeOne) {
  EXPECT_THROW(ScopedClock{platform::Clock()}, platform::InvalidArgument);
  EXPECT_GT(currentDate().seconds, 700e6) << "and nothing was set";
}

TEST(Clock, LetsAnExceptionThrough) {
  const ScopedClock broken([]() -> Date { throw std::runtime_error("no time"); });
  EXPECT_THROW((void)currentDate(), std::runtime_error);
  EXPECT_THROW((void)currentDate(), std::runtime_error) << "not stuck";
}

TEST(Clock, IsSetForAllThreads) {
  const ScopedClock clock(Date{7});
  double seen = 0;
  std::thread([&] { seen = currentDate().seconds; }).join();
  EXPECT_EQ(seen, 7);
}

TEST(Clock, IsSetAndAskedOnSeveralThreadsAtOnce) {
  std::atomic<int> wrong = 0;
  std::array<std::thread, 4> threads;
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      for (int i = 0; i < 1000; ++i) {
        const ScopedClock clock(Date{3});
        wrong += currentDate().seconds == 3 ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(currentDate().seconds, 700e6);
}

}  // namespace
