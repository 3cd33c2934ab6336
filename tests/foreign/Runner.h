// SPDX-License-Identifier: Apache-2.0
// Runs cells in child processes. If a cell ends its process, the others still run.
#pragma once

#include "Cells.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace foreign {

struct Failure {
  std::string cell;
  std::string problem;
};

struct Report {
  std::size_t ran = 0;
  std::size_t neededRemedy = 0;
  std::vector<Failure> failures;
};

/// A thing to run.
struct Job {
  std::string name;
  std::function<Outcome()> run;
};

/// Whether leaks are found in this build.
[[nodiscard]] bool findsLeaks();

/// Runs jobs one after the other. A job that crashes, hangs or leaks is a failure. Its problem has
/// the first lines of the sanitizer's report.
[[nodiscard]] Report runJobs(const std::vector<Job>& jobs);

[[nodiscard]] Report runCells(const std::vector<Cell>& cells);

}  // namespace foreign
