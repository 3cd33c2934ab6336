// SPDX-License-Identifier: Apache-2.0
// A host's code in the middle of every operation. Cells.h describes the table, Choice.h which part
// of it runs.
#include "Choice.h"
#include "NeverReached.h"
#include "Runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>
#include <string>
#include <vector>

// Worlds are small and made by the thousand. The sanitizer need not keep the memory of a world
// from being used again while many others run.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "quarantine_size_mb=8";
}

namespace {

using namespace foreign;

/// Removes the files that operations make when the program ends.
class TemporaryFiles : public testing::Environment {
 public:
  void SetUp() override {
    std::string name = (std::filesystem::temp_directory_path() / "foreign-XXXXXX").string();
    _directory = ::mkdtemp(name.data());
    ::setenv("TMPDIR", _directory.c_str(), 1);
  }
  void TearDown() override { std::filesystem::remove_all(_directory); }

 private:
  std::filesystem::path _directory;
};
const auto* const temporaryFiles = testing::AddGlobalTestEnvironment(new TemporaryFiles);

std::set<Site> neverReachedIn(const std::vector<Row>& rows) {
  std::set<Site> sites;
  for (std::size_t i = 0; i < siteCount; ++i) {
    if (const Site site{static_cast<unsigned char>(i)}; !isReached(rows, site)) {
      sites.insert(site);
    }
  }
  return sites;
}

void expectNoFailure(const Report& report) {
  constexpr std::size_t shown = 20;
  for (std::size_t i = 0; i < std::min(shown, report.failures.size()); ++i) {
    ADD_FAILURE() << report.failures[i].cell << "\n" << report.failures[i].problem;
  }
  EXPECT_EQ(report.failures.size(), 0U) << "of " << report.ran << " cells";
}

class ForeignCode : public testing::TestWithParam<const OperationGroup*> {};

TEST_P(ForeignCode, IsSurvivedInTheMiddleOfEachOperation) {
  const auto list = linesIn(FOREIGN_NEVER_REACHED);
  std::vector<std::vector<Row>> rows;  // cells refer to them
  std::vector<Cell> cells;
  for (const Operation& operation : GetParam()->operations) {
    rows.push_back(rowsOf(operation));
    for (const Row& row : rows.back()) {
      EXPECT_EQ(row.problem, "") << operation.name << " | " << row.scene.name();
    }
    const auto line = list.find(operation.name);
    EXPECT_EQ(line == list.end() ? operation.name + " is not in the list" : line->second,
              lineOf(operation.name, neverReachedIn(rows.back())))
        << "never-reached.txt no longer tells which cells are not reached";
    std::ranges::move(chosenCells(rows.back()), std::back_inserter(cells));
  }
  const Report report = runCells(cells);
  std::cout << report.ran << " cells, " << report.neededRemedy
            << " of which needed their tree built anew\n";
  expectNoFailure(report);
}

INSTANTIATE_TEST_SUITE_P(Table, ForeignCode, testing::ValuesIn([] {
                           std::vector<const OperationGroup*> groups;
                           for (const OperationGroup& group : operationGroups()) {
                             groups.push_back(&group);
                           }
                           return groups;
                         }()),
                         [](const auto& each) { return each.param->name; });

TEST(NeverReached, IsOfOperationsThatThereAre) {
  std::set<std::string> known;
  NeverReached list;
  const bool isToBeWritten = std::getenv("FOREIGN_WRITE_LIST") != nullptr;
  for (const OperationGroup& group : operationGroups()) {
    for (const Operation& operation : group.operations) {
      EXPECT_TRUE(known.insert(operation.name).second) << operation.name << " occurs twice";
      if (isToBeWritten) {
        list[operation.name] = neverReachedIn(rowsOf(operation));
      }
    }
  }
  if (isToBeWritten) {
    write(FOREIGN_NEVER_REACHED, list);
  }
  for (const auto& [operation, line] : linesIn(FOREIGN_NEVER_REACHED)) {
    EXPECT_TRUE(known.contains(operation)) << operation << " is no operation any more";
  }
}

std::vector<std::string> namesIn(const Report& report) {
  std::vector<std::string> names;
  for (const Failure& failure : report.failures) {
    names.push_back(failure.cell);
  }
  return names;
}

const Job good{"good", [] { return Outcome(); }};

TEST(Runner, ReportsWhatEndsItsProcessAndGoesOn) {
  const Report report = runJobs({
      good,
      {"crashes", []() -> Outcome { std::abort(); }},
      {"exits", []() -> Outcome { std::_Exit(3); }},
      {"fails",
       [] {
         return Outcome{"is wrong", true};
       }},
      good,
  });
  EXPECT_EQ(namesIn(report), (std::vector<std::string>{"crashes", "exits", "fails"}));
  EXPECT_EQ(report.failures.back().problem, "is wrong");
  EXPECT_EQ(report.ran, 3U);
  EXPECT_EQ(report.neededRemedy, 1U);
}

TEST(Runner, ReportsWhoLeaksWhereTheBuildLooksForIt) {
  const auto leak = [] {
    for (int i = 0; i < 100; ++i) {
      [[maybe_unused]] auto* volatile lost = new int[100]();
      lost = nullptr;
    }
    return Outcome();
  };
  const std::vector<std::string> found =
      findsLeaks() ? std::vector<std::string>{"leaks"} : std::vector<std::string>{};
  EXPECT_EQ(namesIn(runJobs({good, {"leaks", leak}, good})), found);
}

}  // namespace
