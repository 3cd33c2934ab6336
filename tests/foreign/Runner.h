// SPDX-License-Identifier: Apache-2.0
// Runs cells in child processes, so that one that ends its process hides no other.
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

/// One of the things to be run: its name, and what it does.
struct Job {
  std::string name;
  std::function<Outcome()> run;
};

/// Whether leaks are found in this build.
[[nodiscard]] bool findsLeaks();

/// Runs jobs one after the other. One that crashes, hangs or leaks is a failure of its own, whose
/// problem holds the first lines of what the sanitizer says.
[[nodiscard]] Report runJobs(const std::vector<Job>& jobs);

[[nodiscard]] Report runCells(const std::vector<Cell>& cells);

}  // namespace foreign
