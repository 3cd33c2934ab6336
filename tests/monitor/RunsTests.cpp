// SPDX-License-Identifier: Apache-2.0
#include "monitor/Runs.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "TableSupport.h"
#include "TemporaryRoot.h"

namespace monitor {
namespace {

/// Writes the files that proc(5) has of a process.
class ProcessTree : public testing::Test {
 protected:
  void add(int id, int parent, const std::string& name, const Lines& arguments = {},
           const std::string& uid = "0", int startTicks = 1000) const {
    const std::string directory = "proc/" + std::to_string(id) + "/";
    _root.write(directory + "stat", std::to_string(id) + " (" + name + ") S " +
                                        std::to_string(parent) +
                                        " 1 1 0 -1 4194560 0 0 0 0 0 0 0 0 20 0 1 0 " +
                                        std::to_string(startTicks) + " 2748416 512\n");
    _root.write(directory + "status", "Name:\t" + name + "\nUid:\t" + uid + "\t0\t0\t0\n");
    std::string line;
    for (const std::string& argument : arguments) {
      line += argument + '\0';
    }
    _root.write(directory + "cmdline", line);
  }

  [[nodiscard]] std::vector<Process> processes() const {
    return readCronProcesses(_root / "proc", _root / "etc/passwd");
  }
  [[nodiscard]] std::vector<int> numbers() const {
    std::vector<int> result;
    for (const Process& process : processes()) {
      result.push_back(process.id);
    }
    return result;
  }

  TemporaryRoot _root;
};

TEST_F(ProcessTree, HasWhatIsBelowADaemon) {
  // 1 ─ 10 cron ─ 11 cron ─ 12 sh ─ 13 tool
  //   └ 20 sshd ─ 21 sh     30 crond ─ 31 sh
  add(1, 0, "init");
  add(10, 1, "cron");
  add(11, 10, "cron");
  add(12, 11, "sh");
  add(13, 12, "tool");
  add(20, 1, "sshd");
  add(21, 20, "sh");
  add(30, 1, "crond");
  add(31, 30, "sh");
  EXPECT_EQ(numbers(), (std::vector<int>{11, 12, 13, 31}));
}

TEST_F(ProcessTree, TellsWhatAProcessIs) {
  _root.write("etc/passwd", "root:x:0:0::/root:/bin/sh\nanna:x:1000:1000:A:/home/anna:/bin/sh\n");
  _root.write("proc/stat", "cpu  1 2 3\nbtime 1774573200\nprocesses 9\n");
  add(10, 1, "cron");
  add(12, 10, "sh", {"/bin/sh", "-c", "a b", ""}, "1000", 6050);
  ASSERT_EQ(processes().size(), 1U);
  const Process process = processes().front();
  EXPECT_EQ(process.id, 12);
  EXPECT_EQ(process.parent, 10);
  EXPECT_EQ(process.name, "sh");
  EXPECT_EQ(process.arguments, (Lines{"/bin/sh", "-c", "a b", ""}));
  EXPECT_EQ(process.user, "anna");
  EXPECT_EQ(process.started, Instant(std::chrono::seconds(1774573200 + 60)));
}

TEST_F(ProcessTree, NamesMayHoldAnything) {
  add(10, 1, "cron");
  add(12, 10, "a) S 99 (b");
  ASSERT_EQ(processes().size(), 1U);
  EXPECT_EQ(processes().front().name, "a) S 99 (b");
}

TEST_F(ProcessTree, DoesWithoutWhatIsNotKnown) {
  add(10, 1, "cron");
  add(12, 10, "sh", {}, "1000");
  ASSERT_EQ(processes().size(), 1U);
  EXPECT_EQ(processes().front().user, "");
  EXPECT_EQ(processes().front().started, std::nullopt);
  EXPECT_EQ(processes().front().arguments, Lines());
}

TEST_F(ProcessTree, LeavesOutAProcessThatHasVanishedInBetween) {
  add(10, 1, "cron");
  for (int id = 12; id <= 15; ++id) {
    add(id, 10, "sh");
  }
  _root.remove("proc/12/stat");
  _root.remove("proc/13/status");
  _root.remove("proc/14/cmdline");
  EXPECT_EQ(numbers(), std::vector<int>{15});
}

TEST_F(ProcessTree, LeavesOutWhatIsNotWrittenLikeAProcess) {
  add(10, 1, "cron");
  add(12, 10, "sh");
  _root.write("proc/13/stat", "");
  _root.write("proc/14/stat", "14 sh S 10");
  _root.write("proc/15/stat", "15 (sh) S 10");
  _root.write("proc/self/stat", "12 (sh) S 10 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 5 0 0\n");
  EXPECT_EQ(numbers(), std::vector<int>{12});
}

TEST_F(ProcessTree, EndsWhereParentsGoInCircles) {
  add(10, 1, "cron");
  add(12, 13, "sh");
  add(13, 12, "sh");
  EXPECT_EQ(numbers(), std::vector<int>());
}

TEST_F(ProcessTree, NeedNotBeThere) {
  EXPECT_EQ(numbers(), std::vector<int>());
}

/// A daemon of this machine's own: a process called crond, below which one process stays and others
/// come and go every few milliseconds.
class RestlessDaemon {
 public:
  RestlessDaemon() {
    std::array<int, 2> numbers{};
    if (::pipe(numbers.data()) != 0) {
      return;
    }
    _id = ::fork();
    if (_id == 0) {
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      ::prctl(PR_SET_NAME, "crond");
      const pid_t steady = ::fork();
      if (steady == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::prctl(PR_SET_NAME, "steady (1) S 2");
        ::pause();
      }
      static_cast<void>(::write(numbers[1], &steady, sizeof steady));
      while (true) {
        const pid_t fleeting = ::fork();
        if (fleeting == 0) {
          ::usleep(3000);
          ::_exit(0);
        }
        ::waitpid(fleeting, nullptr, 0);
      }
    }
    EXPECT_EQ(::read(numbers[0], &_steady, sizeof _steady), ssize_t{sizeof _steady});
    ::close(numbers[0]);
    ::close(numbers[1]);
  }
  RestlessDaemon(const RestlessDaemon&) = delete;
  RestlessDaemon& operator=(const RestlessDaemon&) = delete;
  ~RestlessDaemon() {
    ::kill(_id, SIGKILL);
    ::waitpid(_id, nullptr, 0);
  }

  [[nodiscard]] int id() const { return _id; }
  [[nodiscard]] int steady() const { return _steady; }

 private:
  pid_t _id = -1;
  pid_t _steady = -1;
};

TEST(Processes, OfThisMachineCanBeReadWhileTheyComeAndGo) {
  const RestlessDaemon daemon;
  const Instant now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  std::set<int> fleeting;
  for (int round = 0; round < 500 && (round < 10 || fleeting.empty()); ++round) {
    std::set<int> seen;
    for (const Process& process : readCronProcesses("/proc", "/etc/passwd")) {
      EXPECT_TRUE(seen.insert(process.id).second);
      EXPECT_NE(process.id, daemon.id());
      if (process.parent == daemon.id() && process.id != daemon.steady()) {
        fleeting.insert(process.id);
      }
      if (process.id == daemon.steady()) {
        EXPECT_EQ(process.parent, daemon.id());
        EXPECT_TRUE(process.name == "steady (1) S 2" || process.name == "crond") << process.name;
        EXPECT_FALSE(process.arguments.empty());
        ASSERT_TRUE(process.started);
        EXPECT_LT(std::chrono::abs(*process.started - now), std::chrono::hours(1));
      }
    }
    EXPECT_TRUE(seen.contains(daemon.steady()));
  }
  EXPECT_FALSE(fleeting.empty()) << "nothing came and went meanwhile";
}

// --- which job a process runs

Process processOf(int id, int parent, Lines arguments, std::string user = "root") {
  return {id, parent, "sh", std::move(arguments), std::move(user), std::nullopt};
}

/// "12 is NAME" for each run.
Lines runsIn(std::string_view table, const std::vector<Process>& processes) {
  const Tables tables = tablesOf(table);
  Lines lines;
  for (const JobRun& run : runsOf(tables, processes)) {
    lines.push_back(std::to_string(run.process.id) + " is " + run.job->name);
  }
  return lines;
}

Lines shell(std::string command) {
  return {"/bin/sh", "-c", std::move(command)};
}

TEST(Runs, AreShellsThatWereHandedTheCommand) {
  const char* table = "# A\n5 * * * * root cd /srv && ./a | sort\n# B\n6 * * * * root b\n";
  EXPECT_EQ(runsIn(table, {processOf(12, 1, shell("cd /srv && ./a | sort")),
                           processOf(13, 1, shell("cd /srv && ./a")),
                           processOf(14, 1, {"/bin/bash", "-c", "b"}),
                           processOf(15, 1, {"/bin/sh", "-c", "b", "x"}), processOf(16, 1, {})}),
            (Lines{"12 is A", "14 is B"}));
}

TEST(Runs, BelongToTheUserOfTheJob) {
  const char* table = "# A\n5 * * * * anna tool\n# B\n6 * * * * tom tool\n";
  EXPECT_EQ(runsIn(table,
                   {processOf(12, 1, shell("tool"), "tom"), processOf(13, 1, shell("tool"), "anna"),
                    processOf(14, 1, shell("tool"), "eve"), processOf(15, 1, shell("tool"), "")}),
            (Lines{"12 is B", "13 is A", "15 is A"}));
}

TEST(Runs, TakeTheJobThatIsSwitchedOnOfTwins) {
  EXPECT_EQ(runsIn("# A\n#5 * * * * root /bin/tool\n# B\n6 * * * * root /bin/tool\n",
                   {processOf(12, 1, shell("/bin/tool"))}),
            Lines{"12 is B"});
}

TEST(Runs, SeeWhatTheShellMakesOfAPercentSign) {
  EXPECT_EQ(shellCommandOf("a \\%u b%input"), "a %u b");
  EXPECT_EQ(shellCommandOf("a \\\\n %"), "a \\\\n ");
  EXPECT_EQ(runsIn("# A\n5 * * * * root dump > x-$(date +\\%u).dump\n",
                   {processOf(12, 1, shell("dump > x-$(date +%u).dump"))}),
            Lines{"12 is A"});
  EXPECT_EQ(
      runsIn("# A\n5 * * * * root mail anna%Hello%you\n", {processOf(12, 1, shell("mail anna"))}),
      Lines{"12 is A"});
}

TEST(Runs, AreProgramsThatHaveTakenTheShellsPlace) {
  const char* table =
      "# A\n5 * * * * root LANG=C nice -n 19 a --x=1 >/dev/null 2>&1\n"
      "# B\n5 * * * * root $HOME/bin/b --quiet\n# C\n5 * * * * root c one >> log\n"
      "# D\n5 * * * * root d *.txt\n";
  EXPECT_EQ(runsIn(table, {processOf(12, 1, {"nice", "-n", "19", "a", "--x=1"}),
                           processOf(13, 1, {"/home/x/bin/b", "--quiet"}),
                           processOf(14, 1, {"/bin/sh", "-e", "/usr/bin/c", "one"}),
                           processOf(15, 1, {"c", "one", "two"}), processOf(16, 1, {"c"}),
                           processOf(17, 1, {"d", "*.txt"}),
                           processOf(18, 1, {"perl", "/home/x/bin/b", "--quiet"})}),
            (Lines{"12 is A", "13 is B", "14 is C", "18 is B"}));
}

TEST(Runs, AreNotTheirOwnChildren) {
  EXPECT_EQ(runsIn("# A\n5 * * * * root a\n# B\n5 * * * * root b\n",
                   {processOf(12, 1, shell("a")), processOf(13, 12, {"a"}),
                    processOf(14, 13, {"b"}), processOf(15, 1, {"b"})}),
            (Lines{"12 is A", "15 is B"}));
}

}  // namespace
}  // namespace monitor
