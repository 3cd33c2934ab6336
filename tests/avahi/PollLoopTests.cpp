// SPDX-License-Identifier: Apache-2.0
#include <avahi-common/timeval.h>
#include <avahi-common/watch.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>
#include <vexil/avahi/PollLoop.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <system_error>
#include <type_traits>

namespace {

using std::chrono::milliseconds;
using vexil::avahi::PollLoop;
using Clock = std::chrono::steady_clock;

static_assert(!std::is_copy_constructible_v<PollLoop> && !std::is_move_constructible_v<PollLoop>);

/// Long enough that only a loop that was not woken reaches it.
constexpr milliseconds kForever{20000};

class Pipe {
 public:
  Pipe() {
    if (::pipe(_ends.data()) != 0) {
      throw std::system_error(errno, std::generic_category(), "pipe");
    }
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    closeWriter();
    ::close(_ends[0]);
  }

  int reader() const { return _ends[0]; }
  void write() { ASSERT_EQ(::write(_ends[1], "x", 1), 1); }
  void read() {
    char byte = 0;
    ASSERT_EQ(::read(_ends[0], &byte, 1), 1);
  }
  void closeWriter() {
    if (_ends[1] >= 0) {
      ::close(_ends[1]);
    }
    _ends[1] = -1;
  }

 private:
  std::array<int, 2> _ends{-1, -1};
};

/// What a browser does with a loop: watches a descriptor, counts the calls.
class Watch {
 public:
  Watch(const AvahiPoll& poll, int descriptor) : _poll(poll) {
    const auto onEvent = [](AvahiWatch*, int, AvahiWatchEvent, void* watch) {
      ++static_cast<Watch*>(watch)->calls;
    };
    _watch = poll.watch_new(&poll, descriptor, AVAHI_WATCH_IN, onEvent, this);
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  ~Watch() { _poll.watch_free(_watch); }

  int calls = 0;

 private:
  const AvahiPoll& _poll;
  AvahiWatch* _watch = nullptr;
};

TEST(PollLoop, EndsItsWaitWhenTheTimeIsUp) {
  PollLoop loop;
  const auto begin = Clock::now();
  EXPECT_FALSE(loop.wait(milliseconds(30)));
  EXPECT_GE(Clock::now() - begin, milliseconds(29));
}

TEST(PollLoop, DoesNotWaitForAnythingWithinNoTime) {
  PollLoop loop;
  Pipe quiet;
  std::array others = {pollfd{quiet.reader(), POLLIN, 0}};
  const auto begin = Clock::now();
  EXPECT_FALSE(loop.wait(milliseconds(0), others));
  EXPECT_LT(Clock::now() - begin, kForever);
}

TEST(PollLoop, TellsWhichOfTheOthersIsReady) {
  PollLoop loop;
  Pipe quiet;
  Pipe ready;
  ready.write();
  std::array others = {pollfd{quiet.reader(), POLLIN, 0}, pollfd{ready.reader(), POLLIN, 0}};
  EXPECT_TRUE(loop.wait(kForever, others));
  EXPECT_EQ(others[0].revents, 0);
  EXPECT_EQ(others[1].revents, POLLIN);
}

TEST(PollLoop, TellsThatAnotherWasHungUp) {
  PollLoop loop;
  Pipe pipe;
  pipe.closeWriter();
  std::array others = {pollfd{pipe.reader(), POLLIN, 0}};
  EXPECT_TRUE(loop.wait(milliseconds(-1), others));
  EXPECT_NE(others[0].revents & POLLHUP, 0);
}

TEST(PollLoop, ForgetsWhatTheLastWaitFilledIn) {
  PollLoop loop;
  Pipe pipe;
  pipe.write();
  std::array others = {pollfd{pipe.reader(), POLLIN, 0}};
  ASSERT_TRUE(loop.wait(kForever, others));
  pipe.read();
  EXPECT_FALSE(loop.wait(milliseconds(0), others));
  EXPECT_EQ(others[0].revents, 0);
}

TEST(PollLoop, HandlesWhatABrowserWatches) {
  PollLoop loop;
  Pipe pipe;
  Watch watch(loop.poll(), pipe.reader());
  EXPECT_FALSE(loop.wait(milliseconds(0)));
  EXPECT_EQ(watch.calls, 0);
  pipe.write();
  EXPECT_FALSE(loop.wait(kForever));
  EXPECT_EQ(watch.calls, 1);
}

TEST(PollLoop, HandlesItsOwnAndTellsOfOthersInOneTurn) {
  PollLoop loop;
  Pipe own;
  Pipe other;
  Watch watch(loop.poll(), own.reader());
  own.write();
  other.write();
  std::array others = {pollfd{other.reader(), POLLIN, 0}};
  EXPECT_TRUE(loop.wait(kForever, others));
  EXPECT_EQ(others[0].revents, POLLIN);
  EXPECT_EQ(watch.calls, 1);
}

TEST(PollLoop, CallsATimeoutWhenItIsDue) {
  PollLoop loop;
  const AvahiPoll& poll = loop.poll();
  int calls = 0;
  timeval due = {};
  avahi_elapse_time(&due, 20, 0);
  AvahiTimeout* const timeout = poll.timeout_new(
      &poll, &due, [](AvahiTimeout*, void* count) { ++*static_cast<int*>(count); }, &calls);
  const auto begin = Clock::now();
  while (calls == 0 && Clock::now() - begin < kForever) {
    loop.wait(kForever);
  }
  EXPECT_EQ(calls, 1);
  EXPECT_LT(Clock::now() - begin, kForever);
  EXPECT_FALSE(loop.wait(milliseconds(0)));
  EXPECT_EQ(calls, 1);
  poll.timeout_free(timeout);
}

TEST(PollLoop, ComesBackWhenASignalWasHandled) {
  struct sigaction action = {};
  struct sigaction before = {};
  action.sa_handler = [](int) {};
  ASSERT_EQ(::sigaction(SIGALRM, &action, &before), 0);
  // Again and again, for the first one could come before the wait.
  itimerval often = {{0, 20000}, {0, 20000}};
  ASSERT_EQ(::setitimer(ITIMER_REAL, &often, nullptr), 0);
  PollLoop loop;
  Pipe quiet;
  std::array others = {pollfd{quiet.reader(), POLLIN, 0}};
  const auto begin = Clock::now();
  EXPECT_FALSE(loop.wait(kForever, others));
  EXPECT_LT(Clock::now() - begin, kForever);
  often = {};
  ::setitimer(ITIMER_REAL, &often, nullptr);
  ::sigaction(SIGALRM, &before, nullptr);
}

TEST(PollLoop, RaisesWhenTheSystemRefusesToWait) {
  // More descriptors than the process may have open are more than poll(2) takes.
  PollLoop loop;
  rlimit before = {};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit few = {8, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  std::array<pollfd, 16> others;
  others.fill(pollfd{-1, 0, 0});
  EXPECT_THROW(loop.wait(milliseconds(0), others), std::system_error);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_FALSE(loop.wait(milliseconds(0), others));
}

TEST(PollLoop, RaisesWhenThereAreNoDescriptorsLeft) {
  // The sanitizer needs descriptors when it first sees an exception of this type.
  EXPECT_THROW(throw std::system_error(EMFILE, std::generic_category(), ""), std::system_error);
  rlimit before = {};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none = {3, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_THROW(PollLoop(), std::system_error);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

}  // namespace
