// SPDX-License-Identifier: Apache-2.0
// What gets into a transcript from outside of the steps, and what must be the same in every run.
#include <gtest/gtest.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/Log.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ScenarioSupport.h"
#include "tests/support/Property.h"

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::reference;
using test::send;
using test::sendToClass;

/// Calls back once, when the first line of a step has been written and the step is about to run.
class CallingBuffer : public std::stringbuf {
 public:
  explicit CallingBuffer(std::function<void()> call) : _call(std::move(call)) {}

 protected:
  int sync() override {
    if (const auto call = std::exchange(_call, nullptr)) {
      call();
    }
    return 0;
  }

 private:
  std::function<void()> _call;
};

std::string transcriptWithLog(const Value& steps, const std::function<void()>& call) {
  CallingBuffer buffer(call);
  std::ostream output(&buffer);
  replay::replayScenario(steps, output);
  return buffer.str();
}

Value storing(const Value& object) {
  return sendToClass("itemWithRepresentedObject:", "KRAVTWVItemVexil", {object});
}

TEST(Log, StandsWhereItWasWritten) {
  EXPECT_EQ(transcriptWithLog(Value::array({storing(1)}), [] { platform::log("something"); }),
            "== 1 KRAVTWVItemVexil itemWithRepresentedObject:\n"
            "log something\n"
            "-> #1(KRAVTWVItemVexil absent)\n");
}

TEST(Log, LeavesOutTheWordsOfAnEncoder) {
  EXPECT_EQ(transcriptWithLog(
                Value::array({storing(1)}),
                [] { platform::log("KRAVTWVEventVexil serialization error: offset 7: a null"); }),
            "== 1 KRAVTWVItemVexil itemWithRepresentedObject:\n"
            "log KRAVTWVEventVexil serialization error: <error>\n"
            "-> #1(KRAVTWVItemVexil absent)\n");
}

TEST(Log, NamesNoTemporaryFileButEveryOther) {
  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) / "replay-log-of-files";
  std::filesystem::remove_all(folder);
  ASSERT_EQ(setenv("TMPDIR", folder.c_str(), 1), 0);
  const Value description = Value::dictionary(
      {{"name", "a b.sch"}, {"bytes", Value::data(std::as_bytes(std::span("x")))}});
  const std::string transcript =
      transcriptWithLog(Value::array({storing(Value::dictionary({{"$file", description}}))}), [&] {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
          if (entry.is_regular_file()) {
            platform::log("wrote " + platform::FileURL::file(entry.path()).absoluteString());
          }
        }
        platform::log("left file:///etc/passwd");
      });
  EXPECT_EQ(transcript,
            "== 1 KRAVTWVItemVexil itemWithRepresentedObject:\n"
            "log wrote <url>\n"
            "log left file:///etc/passwd\n"
            "-> #1(KRAVTWVItemVexil absent)\n");
  EXPECT_TRUE(std::filesystem::is_empty(folder));
  unsetenv("TMPDIR");
  std::filesystem::remove_all(folder);
}

TEST(TemporaryDirectories, GoWithTheScenario) {
  const std::filesystem::path folder =
      std::filesystem::path(testing::TempDir()) / "replay-directories";
  std::filesystem::remove_all(folder);
  ASSERT_EQ(setenv("TMPDIR", folder.c_str(), 1), 0);
  EXPECT_EQ(test::replayed(Value::array(
                {test::group("G", "g", "g"), send("URLForUniqueTemporaryDirectory", "g")})),
            (test::Replayed{"== 1 KRAVTWVGroupVexil itemWithLabel:uniqueID:\n"
                            "-> #1(KRAVTWVGroupVexil \"g\")\n"
                            "== 2 g URLForUniqueTemporaryDirectory\n"
                            "-> directory(empty)\n",
                            ""}));
  EXPECT_TRUE(std::filesystem::is_empty(folder));
  unsetenv("TMPDIR");
  std::filesystem::remove_all(folder);
}

// --- random scenarios

rc::Gen<std::string> anyName() {
  return rc::gen::element<std::string>("a", "b", "c", "list", "o", "d", "w", "v", "nobody");
}

rc::Gen<Value> anyArgument(int depth = 2) {
  const auto leaf = rc::gen::oneOf(
      rc::gen::map(anyName(), [](const std::string& name) { return reference(name.c_str()); }),
      rc::gen::element(Value("x"), Value("y"), Value(0), Value(1), Value(2.5), Value(true),
                       Value("label"), Value("children"), Value("/x"), test::absentArgument(),
                       Value::dictionary({{"$indexes", Value::array({0})}}),
                       Value::dictionary({{"kTWEventUniqueID", "e"}, {"kTWEventName", "E"}}),
                       Value::dictionary({{"$service", Value::dictionary({{"name", "n"}})}}),
                       Value::dictionary({{"$nothing", 1}})));
  if (depth == 0) {
    return leaf;
  }
  return rc::gen::oneOf(
      leaf, leaf,
      rc::gen::map(rc::gen::container<std::vector<Value>>(2, anyArgument(depth - 1)),
                   [](std::vector<Value> elements) { return Value::array(std::move(elements)); }));
}

/// Steps of operations that end even if a tree contains itself.
rc::Gen<Value> anyStep() {
  return rc::gen::exec([] {
    static const std::vector<std::pair<const char*, std::size_t>> operations = {
        {"uniqueID", 0},
        {"setUniqueID:", 1},
        {"label", 0},
        {"setLabel:", 1},
        {"setRepresentedObject:", 1},
        {"representedObject", 0},
        {"parent", 0},
        {"setParent:", 1},
        {"children", 0},
        {"setChildren:", 1},
        {"childAtIndex:", 1},
        {"removeChildrenAtIndexes:", 1},
        {"tree", 0},
        {"release", 0},
        {"unwatch", 0},
        {"watch", 1},
        {"valueForKey:", 1},
        {"setValue:forKey:", 2},
        {"setDelegate:", 1},
        {"delegate", 0},
        {"setSortedEvents:", 1},
        {"sortedEvents", 0},
        {"root", 0},
        {"isGroup", 0},
        {"representedEvent", 0},
        {"triggerDate", 0},
        {"explode", 1}};
    const auto& [operation, count] = *rc::gen::elementOf(operations);
    const std::string receiver = *anyName();
    const std::string name = *anyName();
    return send(operation, receiver.c_str(),
                *rc::gen::container<std::vector<Value>>(count, anyArgument()),
                *rc::gen::arbitrary<bool>() ? name.c_str() : nullptr);
  });
}

PROPERTY(RandomScenarios, ReadTheSameEachTime, ()) {
  std::vector<Value> steps = {
      test::group("A", "x", "a"),
      sendToClass("itemWithEvent:", "KRAVTWVEventVexil", {"event"}, "b"),
      sendToClass("itemWithRepresentedObject:", "KRAVTWVItemVexil", {reference("a")}, "c"),
      sendToClass("new", "KRAVTWVEventsVexil", {}, "list"),
      sendToClass("new", "KRAVTWVItemsObserver", {}, "o"),
      sendToClass("new", "Delegate", {}, "d"),
      send("watch", "a", {"children"}, "w"),
      send("watch", "b", {"label"}, "v"),
  };
  const auto more = *rc::gen::container<std::vector<Value>>(anyStep());
  for (const Value& step : more) {
    // A refused step ends a scenario. So each step is tried first, and kept if it is performed.
    steps.push_back(step);
    const test::Replayed outcome = test::replayed(Value::array(steps));
    RC_ASSERT(outcome == test::replayed(Value::array(steps)));

    std::istringstream lines(outcome.transcript);
    std::size_t headings = 0;
    for (std::string line; std::getline(lines, line);) {
      RC_ASSERT(!line.empty());
      headings += line.starts_with("== ") ? 1U : 0U;
    }
    RC_ASSERT(headings == steps.size() - (outcome.refusal.empty() ? 0 : 1));
    if (!outcome.refusal.empty()) {
      RC_ASSERT(outcome.refusal.starts_with("step " + std::to_string(steps.size()) + ": "));
      steps.pop_back();
    }
  }
}

}  // namespace
