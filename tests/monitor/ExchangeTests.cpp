// SPDX-License-Identifier: Apache-2.0
#include "monitor/Exchange.h"

#include <gtest/gtest.h>
#include <ternwood/Ternwood.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/Log.h>
#include <vexil/platform/Pasteboard.h>
#include <vexil/platform/PropertyList.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "TableSupport.h"
#include "TemporaryRoot.h"
#include "monitor/EventRecords.h"
#include "monitor/Host.h"
#include "monitor/Outline.h"

namespace platform = vexil::platform;

namespace monitor {
namespace {

using platform::Value;

const Style kPlain(false);

/// Items of a table with two jobs, and a place of their own for files.
class ExchangeOfItems : public testing::Test {
 protected:
  ExchangeOfItems() {
    _root.makeDirectory("files");
    ::setenv("TMPDIR", (_root / "files").c_str(), 1);
    _root.write("etc/cron.d/x", "# A job\n5 * * * * root a\n# b/c\n#6 * * * * root b\n");
    _root.write("etc/cron.d/y", "# D\n7 * * * * root d\n");
    (void)_host.refresh(Instant());
  }
  ~ExchangeOfItems() override {
    ::unsetenv("TMPDIR");
    platform::Pasteboard::general()->clearContents();
  }

  [[nodiscard]] Items roots() {
    return {_host.collections().events->root(), _host.collections().engine->root()};
  }
  [[nodiscard]] std::string copiedFrom(std::string_view path) {
    return copied(itemAt(path, roots()), kPlain);
  }
  /// The only file there is.
  [[nodiscard]] std::filesystem::path file() const {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(_root / "files")) {
      if (entry.is_regular_file()) {
        files.push_back(entry.path());
      }
    }
    EXPECT_EQ(files.size(), 1U);
    return files.empty() ? "" : files.front();
  }
  static std::string failure(const auto& action) {
    try {
      (void)action();
    } catch (const ExchangeFailed& error) {
      return error.what();
    }
    return "none";
  }

  // Before the collections, which are labelled when they are made.
  struct English {
    English() { platform::setPreferredLanguage("en"); }
    ~English() { platform::setPreferredLanguage(""); }
  };
  const English _english;
  const TemporaryRoot _root;
  Host _host{_root.path(), Zone::named("UTC")};
};

TEST_F(ExchangeOfItems, FindsAnItemByItsPathInTheFirstTreeThatHasIt) {
  EXPECT_EQ(itemAt("/root", roots()), roots()[0]);
  EXPECT_EQ(itemAt("/root/etc/cron.d/x/etc/cron.d/x|root|1|a", roots())->label(), Value("A job"));
  EXPECT_EQ(itemAt("/root/scheduler.pending", roots()), roots()[1]->children()->at(2));
}

TEST_F(ExchangeOfItems, FindsNothingAtAnUnknownPath) {
  for (const char* path : {"", "/", "root", "/root/", "/root/etc/cron.d/z", "/other"}) {
    EXPECT_EQ(failure([&] { return itemAt(path, roots()); }),
              "there is no item at " + std::string(path));
  }
  EXPECT_EQ(failure([&] { return itemAt("/\x1b[31m", roots()); }),
            "there is no item at /\uFFFD[31m");
}

TEST_F(ExchangeOfItems, FindsEachItemAtThePathThatIsShown) {
  std::size_t count = 0;
  for (const auto& root : roots()) {
    const std::string lines = pathsOutline(*root, kPlain);
    for (std::size_t at = 0; at < lines.size(); at = lines.find('\n', at) + 1) {
      const std::string line = lines.substr(at, lines.find('\n', at) - at);
      const std::string path = line.substr(0, line.find('\t'));
      const auto item = itemAt(path, {root});
      EXPECT_EQ(line, path + "\t" + item->label().displayText());
      ++count;
    }
  }
  // Two roots, two tables, three jobs; three groups, and triggers of the two jobs switched on.
  EXPECT_EQ(count, 2U + 2 + 3 + 3 + 2);
}

TEST_F(ExchangeOfItems, TellsWhatIsPastedOfAJobTypeByType) {
  const std::string text = copiedFrom("/root/etc/cron.d/x/etc/cron.d/x|root|1|a");
  const auto board = platform::Pasteboard::general();
  const auto sizeOf = [&](std::string_view type) {
    return std::to_string(board->dataForType(type).bytes().size());
  };
  const std::string url = platform::FileURL::file(file()).absoluteString();
  EXPECT_EQ(text, "org.ternwood.event  " + sizeOf(kTWWorkspaceUTIEvent) +
                      " bytes\n"
                      "    kTWEventUniqueID  etc/cron.d/x|root|1|a\n"
                      "    kTWEventName      A job\n"
                      "    kTWEventEnabled   true\n"
                      "    kTWEventDomain    etc/cron.d/x\n"
                      "    monitor.schedule  5 * * * *\n"
                      "    monitor.command   a\n"
                      "    monitor.user      root\n"
                      "    monitor.table     cron.d/x\n"
                      "org.ternwood.schedule  " +
                      sizeOf(kTWWorkspaceUTISchedule) +
                      " bytes\n"
                      "    1 event\n"
                      "    ● A job  5 * * * *  root  a\n"
                      "public.file-url  " +
                      std::to_string(url.size()) + " bytes\n    " + url + "\n    a file of " +
                      sizeOf(kTWWorkspaceUTISchedule) +
                      " bytes\n"
                      "public.utf8-plain-text  5 bytes\n"
                      "    A job\n");
  EXPECT_EQ(file().filename(), "A job.twschedule");
}

TEST_F(ExchangeOfItems, LeavesWhatWasCopiedOnThePasteboard) {
  (void)copiedFrom("/root/etc/cron.d/x/etc/cron.d/x|root|1|a");
  (void)copiedFrom("/root/etc/cron.d/y/etc/cron.d/y|root|1|d");
  const auto board = platform::Pasteboard::general();
  ASSERT_EQ(board->pasteboardItems().size(), 1U) << "in place of what was there";
  EXPECT_EQ(board->stringForType(platform::NSPasteboardTypeString), Value("D"));
}

TEST_F(ExchangeOfItems, TellsWhereATypeHoldsNothing) {
  // A name that no file can have.
  const std::string text = copiedFrom("/root/etc/cron.d/x/etc/cron.d/x|root|1|b");
  EXPECT_NE(text.find("public.file-url  nothing\n"), std::string::npos) << text;
  EXPECT_NE(text.find("    ○ b/c  6 * * * *  root  b\n"), std::string::npos) << text;
}

TEST_F(ExchangeOfItems, CopiesAGroupAsTheScheduleOfItsJobs) {
  const std::string text = copiedFrom("/root/scheduler.pending");
  EXPECT_TRUE(text.starts_with("org.ternwood.schedule  ")) << text;
  EXPECT_NE(text.find(" bytes\n    2 events\n"
                      "    ● A job  5 * * * *  root  a\n"
                      "    ● D      7 * * * *  root  d\n"
                      "public.file-url  "),
            std::string::npos)
      << text;
  EXPECT_EQ(file().filename(), "Pending.twschedule");
}

TEST_F(ExchangeOfItems, RefusesToCopyWhatIsNoJobAndNoGroupOfThem) {
  EXPECT_EQ(failure([&] { return copiedFrom("/root/etc/cron.d/x"); }),
            "cron.d/x cannot be copied; jobs and groups of them can");
  const auto trigger = roots()[1]->children()->at(2)->children()->at(0);
  EXPECT_EQ(failure([&] { return copied(trigger, kPlain); }),
            "A job cannot be copied; jobs and groups of them can");
}

TEST_F(ExchangeOfItems, OpensTheFileThatCameOfCopying) {
  (void)copiedFrom("/root/scheduler.pending");
  const std::string shown =
      "Schedule  2 jobs\n"
      "    ● A job  5 * * * *  root  a\n"
      "    ● D      7 * * * *  root  d\n";
  EXPECT_EQ(scheduleOutline(*openedSchedule(file().string()), kPlain), shown);
  const std::string url = platform::FileURL::file(file()).absoluteString();
  EXPECT_EQ(scheduleOutline(*openedSchedule(url), kPlain), shown);
}

TEST_F(ExchangeOfItems, OpensAScheduleThatAnybodyWrote) {
  _root.write("s", "({kTWEventUniqueID = 1; kTWEventName = \"One\\U001b[31m\"; }, word, ())");
  EXPECT_EQ(scheduleOutline(*openedSchedule((_root / "s").string()), kPlain),
            "Schedule  3 jobs\n"
            "    ○ One\uFFFD[31m\n"
            "    ○ (null)\n"
            "    ○ (null)\n");
  _root.write("empty", "()");
  EXPECT_EQ(scheduleOutline(*openedSchedule((_root / "empty").string()), kPlain),
            "Schedule  0 jobs\n");
}

TEST_F(ExchangeOfItems, RefusesAFileThatHoldsNoSchedule) {
  int logged = 0;
  const auto before = platform::setLogSink([&](std::string_view) { ++logged; });
  const std::string path = (_root / "s").string();
  for (const char* text : {"", "{ a = b; }", "bplist00", "<plist><array>", "5 * * * * root a\n"}) {
    _root.write("s", text);
    EXPECT_EQ(failure([&] { return openedSchedule(path); }),
              path + ": this is no schedule, which is a property list of an array")
        << text;
  }
  EXPECT_EQ(logged, 0) << "told once, by the error";
  platform::log("x");
  EXPECT_EQ(logged, 1) << "and the log is as it was";
  platform::setLogSink(before);
}

TEST_F(ExchangeOfItems, RefusesAFileThatIsNotThere) {
  const std::string path = (_root / "none").string();
  EXPECT_EQ(failure([&] { return openedSchedule(path); }),
            path + ": there is no such file to be read");
  const std::string directory = _root.path().string();
  EXPECT_EQ(failure([&] { return openedSchedule(directory); }),
            directory + ": there is no such file to be read");
}

}  // namespace
}  // namespace monitor
