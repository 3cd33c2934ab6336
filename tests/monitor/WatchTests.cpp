// SPDX-License-Identifier: Apache-2.0
#include "monitor/Watch.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <csignal>
#include <ctime>

#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <type_traits>

#include "TemporaryRoot.h"
#include "monitor/Tables.h"

namespace monitor {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

static_assert(!std::is_copy_constructible_v<Watcher>);
static_assert(std::is_move_constructible_v<Watcher>);

/// Long enough for a loaded machine; a test that passes never waits for it.
constexpr auto kPatience = 10s;
/// How long a test listens for what should not come.
constexpr auto kSilence = 150ms;

// root
// ├── etc
// │   ├── crontab
// │   └── cron.d: backup
// └── var/spool/cron/crontabs: alice
class WatcherOfTables : public testing::Test {
 protected:
  WatcherOfTables() {
    _root.write("etc/crontab", "@daily root tidy\n");
    _root.write("etc/cron.d/backup", "@daily root save\n");
    _root.write("var/spool/cron/crontabs/alice", "@daily brew\n");
  }

  static void expectOneReport(Watcher& watcher, const char* of) {
    EXPECT_TRUE(watcher.wait(kPatience)) << of;
    EXPECT_FALSE(watcher.wait(kSilence)) << "a second report of " << of;
  }

  static bool isReadable(const Watcher& watcher, std::chrono::milliseconds timeout) {
    pollfd events = {watcher.descriptor(), POLLIN, 0};
    return ::poll(&events, 1, static_cast<int>(timeout.count())) == 1;
  }

  TemporaryRoot _root;
};

TEST_F(WatcherOfTables, IsSilentWhileNothingHappens) {
  Watcher watcher(_root.path());
  EXPECT_FALSE(watcher.drain());
  EXPECT_FALSE(watcher.wait(0ms));
  EXPECT_FALSE(watcher.wait(-5ms));
  EXPECT_FALSE(watcher.wait(kSilence));
}

TEST_F(WatcherOfTables, IsNotRousedByReading) {
  Watcher watcher(_root.path());
  readTables(_root.path());
  EXPECT_FALSE(watcher.wait(kSilence));
}

TEST_F(WatcherOfTables, NoticesEditsOfEveryTable) {
  Watcher watcher(_root.path());
  for (const char* table : {"etc/crontab", "etc/cron.d/backup", "var/spool/cron/crontabs/alice"}) {
    _root.append(table, "# more\n");
    expectOneReport(watcher, table);
    _root.write(table, "# all new\n");
    expectOneReport(watcher, table);
  }
}

TEST_F(WatcherOfTables, NoticesTablesReplacedByARename) {
  Watcher watcher(_root.path());
  _root.write("etc/cron.d/.backup.swp", "@weekly root save\n");
  _root.rename("etc/cron.d/.backup.swp", "etc/cron.d/backup");
  expectOneReport(watcher, "a table replaced from beside it");

  _root.write("draft", "@weekly root tidy\n");
  _root.rename("draft", "etc/crontab");
  expectOneReport(watcher, "a table replaced from afar");

  _root.append("etc/crontab", "# more\n");
  expectOneReport(watcher, "an edit of the new file");
}

TEST_F(WatcherOfTables, NoticesTablesThatComeAndGo) {
  Watcher watcher(_root.path());
  _root.write("etc/cron.d/web", "");
  expectOneReport(watcher, "a new table");
  _root.rename("etc/cron.d/web", "etc/cron.d/www");
  expectOneReport(watcher, "a table renamed");
  _root.rename("etc/cron.d/www", "etc/cron.d/www.off");
  expectOneReport(watcher, "a table renamed to what is none");
  _root.remove("etc/cron.d/backup");
  expectOneReport(watcher, "a table removed");
  fs::create_symlink("../crontab", _root / "etc/cron.d/link");
  expectOneReport(watcher, "a link made");
  fs::permissions(_root / "etc/crontab", fs::perms::owner_read);
  expectOneReport(watcher, "a permission taken");
}

TEST_F(WatcherOfTables, IgnoresWhatIsNoTable) {
  Watcher watcher(_root.path());
  _root.write("etc/cron.d/backup~", "");
  _root.write("etc/cron.d/.backup.swp", "");
  _root.write("etc/passwd", "");
  _root.write("etc/cron.daily/tidy", "");
  _root.write("var/log/messages", "");
  _root.write("var/spool/cron/crontabs/tmp.12", "");
  _root.write("home/alice/notes", "");
  EXPECT_FALSE(watcher.wait(kSilence));
}

TEST(Watcher, NoticesPlacesThatAreMadeLater) {
  const TemporaryRoot root;
  Watcher watcher(root.path());
  for (const char* file : {"etc/crontab", "etc/cron.d/web", "var/spool/cron/crontabs/bob"}) {
    root.write(file, "");
    EXPECT_TRUE(watcher.wait(kPatience)) << "made with its directories: " << file;
    while (watcher.wait(kSilence)) {
    }
    root.append(file, "# more\n");
    EXPECT_TRUE(watcher.wait(kPatience)) << "written to: " << file;
    while (watcher.wait(kSilence)) {
    }
  }
}

TEST(Watcher, NoticesARootThatIsMadeLater) {
  const TemporaryRoot root;
  Watcher watcher(root / "later");
  root.write("later/etc/cron.d/web", "");
  EXPECT_TRUE(watcher.wait(kPatience));
  while (watcher.wait(kSilence)) {
  }
  root.append("later/etc/cron.d/web", "# more\n");
  EXPECT_TRUE(watcher.wait(kPatience));
}

TEST(Watcher, NeedsTheDirectoryOfItsRoot) {
  const TemporaryRoot root;
  try {
    Watcher watcher(root / "neither/nor");
    FAIL() << "watches what is not there";
  } catch (const WatchFailed& error) {
    EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
    EXPECT_NE(std::string(error.what()).find("neither/nor"), std::string::npos);
  }
}

TEST(Watcher, TakesTheRootOfTheMachine) {
  Watcher watcher("/");
  EXPECT_FALSE(watcher.wait(0ms));
}

TEST_F(WatcherOfTables, FollowsDirectoriesThatAreMadeAgain) {
  Watcher watcher(_root.path());
  for (const char* directory : {"etc/cron.d", "etc", "var/spool/cron", "."}) {
    fs::remove_all((_root / directory).lexically_normal());
    EXPECT_TRUE(watcher.wait(kPatience)) << "removed: " << directory;
    while (watcher.wait(kSilence)) {
    }
    _root.write("etc/cron.d/backup", "");
    _root.write("var/spool/cron/crontabs/alice", "");
    EXPECT_TRUE(watcher.wait(kPatience)) << "made again: " << directory;
    while (watcher.wait(kSilence)) {
    }
    _root.append("etc/cron.d/backup", "# more\n");
    expectOneReport(watcher, directory);
    _root.append("var/spool/cron/crontabs/alice", "# more\n");
    expectOneReport(watcher, directory);
  }
}

TEST_F(WatcherOfTables, LeavesADirectoryThatWasMovedAway) {
  Watcher watcher(_root.path());
  _root.rename("etc/cron.d", "etc/cron.d.old");
  _root.write("etc/cron.d/web", "");
  EXPECT_TRUE(watcher.wait(kPatience));
  while (watcher.wait(kSilence)) {
  }
  _root.append("etc/cron.d.old/backup", "# nobody reads this\n");
  EXPECT_FALSE(isReadable(watcher, kSilence));
  _root.append("etc/cron.d/web", "# more\n");
  expectOneReport(watcher, "the directory in its place");
}

TEST_F(WatcherOfTables, FollowsADirectoryWithTwoNames) {
  fs::remove_all(_root / "var/spool/cron/crontabs");
  fs::create_directory_symlink(_root / "etc/cron.d", _root / "var/spool/cron/crontabs");
  Watcher watcher(_root.path());
  fs::remove(_root / "var/spool/cron/crontabs");
  EXPECT_TRUE(watcher.wait(kPatience));
  while (watcher.wait(kSilence)) {
  }
  _root.append("etc/cron.d/backup", "# more\n");
  expectOneReport(watcher, "the name that is left");
}

TEST_F(WatcherOfTables, ReportsAnEditOfManyWritesOnce) {
  Watcher watcher(_root.path(), {.settle = 1s, .longest = 60s});
  for (int i = 0; i < 20; ++i) {
    _root.append("etc/crontab", "# more\n");
    EXPECT_FALSE(watcher.wait(5ms));
  }
  expectOneReport(watcher, "twenty writes");
}

TEST_F(WatcherOfTables, DoesNotReportBeforeTheChangeHasSettled) {
  Watcher watcher(_root.path(), {.settle = 200ms, .longest = 60s});
  const auto before = Clock::now();
  _root.append("etc/crontab", "# more\n");
  EXPECT_TRUE(watcher.wait(kPatience));
  EXPECT_GE(Clock::now() - before, 200ms);
}

TEST_F(WatcherOfTables, ReportsInTheEndThoughWritingNeverRests) {
  Watcher watcher(_root.path(), {.settle = 60s, .longest = 300ms});
  std::atomic<bool> writing = true;
  std::thread writer([&] {
    while (writing) {
      _root.append("etc/crontab", "# more\n");
      std::this_thread::sleep_for(1ms);
    }
  });
  EXPECT_TRUE(watcher.wait(kPatience));
  EXPECT_TRUE(watcher.wait(kPatience));
  writing = false;
  writer.join();
}

TEST_F(WatcherOfTables, KeepsAChangeThatHasNotSettledForTheNextWait) {
  Watcher watcher(_root.path(), {.settle = 1s, .longest = 60s});
  _root.append("etc/crontab", "# more\n");
  EXPECT_FALSE(watcher.wait(0ms));
  EXPECT_FALSE(watcher.wait(10ms));
  EXPECT_TRUE(watcher.wait(kPatience));
}

TEST_F(WatcherOfTables, HasADescriptorForLoopsOfOthers) {
  Watcher watcher(_root.path());
  EXPECT_FALSE(isReadable(watcher, 0ms));
  _root.append("etc/crontab", "# more\n");

  int rounds = 0;
  bool reported = false;
  while (!reported && rounds < 50 && isReadable(watcher, kPatience)) {
    reported = watcher.drain();
    ++rounds;
  }
  EXPECT_TRUE(reported);
  EXPECT_LE(rounds, 10) << "the descriptor is not readable without cause";
  EXPECT_FALSE(isReadable(watcher, kSilence));
}

TEST_F(WatcherOfTables, SpendsNoTimeWaiting) {
  Watcher watcher(_root.path());
  const std::clock_t before = std::clock();
  EXPECT_FALSE(watcher.wait(500ms));
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 10);
}

TEST_F(WatcherOfTables, WorksAfterAMove) {
  Watcher first(_root.path());
  _root.append("etc/crontab", "# more\n");
  Watcher second = std::move(first);
  expectOneReport(second, "an edit before the move");
  _root.append("etc/cron.d/backup", "# more\n");
  expectOneReport(second, "an edit after the move");
}

TEST_F(WatcherOfTables, ComesThroughAnOverflowOfTheQueue) {
  unsigned limit = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> limit;
  ASSERT_GT(limit, 0U);
  fs::remove_all(_root / "etc/cron.d");
  Watcher watcher(_root.path());
  // Equal notices in a row are one, so two tables take turns.
  std::ofstream one(_root / "etc/crontab");
  std::ofstream two(_root / "var/spool/cron/crontabs/alice");
  for (unsigned i = 0; i <= limit; ++i) {
    (i % 2 == 0 ? one : two) << "#" << std::flush;
  }
  // The notice of this one is lost.
  _root.write("etc/cron.d/web", "");

  EXPECT_TRUE(watcher.wait(kPatience));
  while (watcher.wait(kSilence)) {
  }
  _root.append("etc/cron.d/web", "# more\n");
  EXPECT_TRUE(watcher.wait(kPatience));
}

extern "C" void ignoreSignal(int) {}

TEST_F(WatcherOfTables, ReturnsEarlyForASignal) {
  struct sigaction action = {};
  struct sigaction before = {};
  action.sa_handler = ignoreSignal;
  ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
  Watcher watcher(_root.path());
  const pthread_t waiting = ::pthread_self();
  std::atomic<bool> returned = false;
  std::thread sender([&] {
    // A signal that comes before the wait begins does not end it, so it is sent again.
    while (!returned) {
      std::this_thread::sleep_for(20ms);
      ::pthread_kill(waiting, SIGUSR1);
    }
  });
  const auto start = Clock::now();
  EXPECT_FALSE(watcher.wait(kPatience));
  EXPECT_LT(Clock::now() - start, kPatience);
  returned = true;
  sender.join();
  ::sigaction(SIGUSR1, &before, nullptr);
}

}  // namespace
}  // namespace monitor
