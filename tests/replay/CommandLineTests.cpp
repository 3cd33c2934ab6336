// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <replay/CommandLine.h>
#include <vexil/platform/Log.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using replay::Status;

struct Outcome {
  Status status;
  std::string output;
  std::string errors;
};

Outcome run(const std::vector<std::string>& arguments, const std::string& input = {}) {
  std::istringstream in(input);
  std::ostringstream output;
  std::ostringstream errors;
  const Status status = replay::run(arguments, in, output, errors);
  return {status, output.str(), errors.str()};
}

const std::string group =
    "{ do = \"itemWithLabel:uniqueID:\"; class = KRAVTWVGroupVexil; with = (G, g); as = g; }";
const std::string transcriptOfGroup =
    "== 1 KRAVTWVGroupVexil itemWithLabel:uniqueID:\n-> #1(KRAVTWVGroupVexil \"g\")\n";

/// A folder for files. It is removed after the test.
class CommandLine : public testing::Test {
 protected:
  CommandLine() { std::filesystem::create_directories(folder); }
  ~CommandLine() override { std::filesystem::remove_all(folder); }
  std::string file(const std::string& name, const std::string& content) {
    std::ofstream(folder / name, std::ios::binary) << content;
    return folder / name;
  }
  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) /
      (std::string("replay-") + testing::UnitTest::GetInstance()->current_test_info()->name());
};

TEST_F(CommandLine, OneFileIsReplayedWithoutAHeading) {
  const Outcome outcome = run({file("a.plist", "(" + group + ")")});
  EXPECT_EQ(outcome.status, Status::performed);
  EXPECT_EQ(outcome.output, transcriptOfGroup);
  EXPECT_EQ(outcome.errors, "");
}

TEST_F(CommandLine, SeveralFilesStartAfreshUnderTheirNames) {
  const std::string a = file("a.plist", "(" + group + ", { do = label; on = g; })");
  const std::string b = file("b.plist", "(" + group + ")");
  const Outcome outcome = run({a, b, a});
  EXPECT_EQ(outcome.status, Status::performed);
  EXPECT_EQ(outcome.output, "==== " + a + "\n" + transcriptOfGroup + "== 2 g label\n-> \"G\"\n" +
                                "==== " + b + "\n" + transcriptOfGroup +  //
                                "==== " + a + "\n" + transcriptOfGroup +
                                "== 2 g label\n-> \"G\"\n");
}

TEST_F(CommandLine, NamesDoNotCarryOverToTheNextFile) {
  const std::string a = file("a.plist", "(" + group + ")");
  const std::string b = file("b.plist", "({ do = label; on = g; })");
  const Outcome outcome = run({a, b});
  EXPECT_EQ(outcome.status, Status::refused);
  EXPECT_EQ(outcome.output, "==== " + a + "\n" + transcriptOfGroup + "==== " + b + "\n");
  EXPECT_EQ(outcome.errors, "vexil-replay: " + b + ": step 1: nothing is bound to \"g\"\n");
}

TEST_F(CommandLine, AMalformedStepEndsItsFileAndNoOther) {
  const std::string a = file("a.plist", "(" + group + ", x, " + group + ")");
  const std::string b = file("b.plist", "(" + group + ")");
  const Outcome outcome = run({a, b});
  EXPECT_EQ(outcome.status, Status::refused);
  EXPECT_EQ(outcome.output,
            "==== " + a + "\n" + transcriptOfGroup + "==== " + b + "\n" + transcriptOfGroup);
  EXPECT_EQ(outcome.errors, "vexil-replay: " + a + ": step 2: the step is no dictionary\n");
}

TEST_F(CommandLine, AStepThatRaisedIsPerformed) {
  const Outcome outcome = run({file("a.plist", "(" + group +
                                                   ", { do = \"valueForKey:\"; on = g; with = (x); "
                                                   "}, { do = label; on = g; })")});
  EXPECT_EQ(outcome.status, Status::performed);
  EXPECT_EQ(outcome.output, transcriptOfGroup +
                                "== 2 g valueForKey:\n!! undefined-key\n"
                                "== 3 g label\n-> \"G\"\n");
}

TEST_F(CommandLine, ADashIsStandardInput) {
  const Outcome outcome = run({"-"}, "(" + group + ")");
  EXPECT_EQ(outcome.status, Status::performed);
  EXPECT_EQ(outcome.output, transcriptOfGroup);

  const std::string a = file("a.plist", "()");
  const Outcome both = run({a, "-"}, "(" + group + ")");
  EXPECT_EQ(both.status, Status::performed);
  EXPECT_EQ(both.output, "==== " + a + "\n==== -\n" + transcriptOfGroup);
}

TEST_F(CommandLine, StandardInputThatIsRefusedIsNamedByItsDash) {
  const Outcome outcome = run({"-"}, "(" + group);
  EXPECT_EQ(outcome.status, Status::refused);
  EXPECT_EQ(outcome.output, "");
  EXPECT_TRUE(outcome.errors.starts_with("vexil-replay: -: line 1: ")) << outcome.errors;
}

TEST_F(CommandLine, FilesThatCannotBeReadGetOneLineEach) {
  const std::string missing = folder / "missing.plist";
  const std::string empty = file("empty.plist", "");
  const std::string truncated = file("truncated.plist", "bplist00\xA1\x01");
  const std::string dictionary = file("dictionary.plist", "{ do = same; }");
  const std::string good = file("good.plist", "(" + group + ")");
  const Outcome outcome = run({missing, folder, empty, truncated, dictionary, good});
  EXPECT_EQ(outcome.status, Status::refused);
  EXPECT_EQ(outcome.output, "==== " + missing + "\n==== " + folder.string() + "\n==== " + empty +
                                "\n==== " + truncated + "\n==== " + dictionary + "\n==== " + good +
                                "\n" + transcriptOfGroup);
  std::istringstream lines(outcome.errors);
  for (const std::string& file : {missing, folder.string(), empty, truncated, dictionary}) {
    std::string line;
    std::getline(lines, line);
    EXPECT_TRUE(line.starts_with("vexil-replay: " + file + ": ")) << line;
    EXPECT_GT(line.size(), ("vexil-replay: " + file + ": ").size());
  }
  std::string more;
  EXPECT_FALSE(std::getline(lines, more)) << more;
}

TEST_F(CommandLine, ARefusalIsOneLineWhateverTheStepHolds) {
  const Outcome outcome = run({"-"}, "({ do = \"two\\nlines\"; })");
  EXPECT_EQ(outcome.status, Status::refused);
  EXPECT_EQ(outcome.errors,
            "vexil-replay: -: step 1: \"two lines\" needs a receiver, or does not exist\n");
}

TEST_F(CommandLine, WrongUsageIsToldBeforeAnythingIsReplayed) {
  const std::string a = file("a.plist", "(" + group + ")");
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {}, {"--"}, {"--nonsense"}, {a, "-v"}, {"-v", a}, {a, "--version=2"}}) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, Status::usage);
    EXPECT_EQ(outcome.output, "");
    EXPECT_TRUE(outcome.errors.starts_with("usage: vexil-replay FILE...\n"));
  }
}

TEST_F(CommandLine, BehindTwoDashesEverythingIsAFile) {
  const Outcome outcome = run({"--", "-v"});
  EXPECT_EQ(outcome.status, Status::refused);
  EXPECT_TRUE(outcome.errors.starts_with("vexil-replay: -v: cannot be opened: "));
  EXPECT_EQ(run({"--", "-"}, "()").status, Status::performed);
}

TEST_F(CommandLine, AnEmptyScenarioPrintsNothing) {
  const Outcome outcome = run({file("a.plist", "()")});
  EXPECT_EQ(outcome.status, Status::performed);
  EXPECT_EQ(outcome.output, "");
}

/// Accepts nothing, like a full disk.
class FullBuffer : public std::streambuf {};

TEST_F(CommandLine, ATranscriptThatCannotBeWrittenIsARefusal) {
  std::istringstream in("(" + group + ")");
  FullBuffer full;
  std::ostream output(&full);
  std::ostringstream errors;
  const std::vector<std::string> arguments = {"-"};
  EXPECT_EQ(replay::run(arguments, in, output, errors), Status::refused);
  EXPECT_EQ(errors.str(), "vexil-replay: the transcript cannot be written\n");
}

/// Keeps its content at each flush.
class FlushedBuffer : public std::stringbuf {
 public:
  std::vector<std::string> flushes;

 protected:
  int sync() override {
    flushes.push_back(str());
    return 0;
  }
};

TEST_F(CommandLine, EveryLineIsFlushedByItself) {
  std::istringstream in("(" + group + ", { do = tree; on = g; })");
  FlushedBuffer buffer;
  std::ostream output(&buffer);
  std::ostringstream errors;
  const std::vector<std::string> arguments = {"-"};
  EXPECT_EQ(replay::run(arguments, in, output, errors), Status::performed);
  const std::string one = "== 1 KRAVTWVGroupVexil itemWithLabel:uniqueID:\n";
  const std::string two = one + "-> #1(KRAVTWVGroupVexil \"g\")\n";
  const std::string three = two + "== 2 g tree\n";
  const std::string four = three +
                           "#1 KRAVTWVGroupVexil uniqueID=\"g\" label=\"G\" flags=group "
                           "parent=absent represents=\"g\"\n";
  EXPECT_EQ(buffer.flushes, (std::vector<std::string>{one, two, three, four}));
}

TEST_F(CommandLine, TheLogIsGivenBackAfterwards) {
  std::string logged;
  platform::LogSink before =
      platform::setLogSink([&](std::string_view line) { logged += std::string(line) + '\n'; });
  EXPECT_EQ(run({"-"}, "(" + group + ")").status, Status::performed);
  platform::log("after");
  platform::setLogSink(std::move(before));
  EXPECT_EQ(logged, "after\n");
}

}  // namespace
