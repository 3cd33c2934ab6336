// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <set>
#include <string>
#include <vector>

/// Prints the results as one table: a row for each benchmark and counter, a column for each size.
///
/// Benchmarks are named `what/size`. Their time is divided by the size; so are counters whose name
/// begins with "bytes per". The other counters are printed as they are.
class TableReporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  std::vector<std::string> _rows;  // in the order in which they came
  std::set<long> _sizes;
  std::map<std::string, std::map<long, std::string>> _cells;
};
