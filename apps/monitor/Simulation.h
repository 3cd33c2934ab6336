// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "monitor/Collections.h"
#include "monitor/Processes.h"
#include "monitor/Scripts.h"
#include "monitor/Tables.h"
#include "monitor/Terminal.h"
#include "monitor/Views.h"
#include "monitor/Zone.h"

namespace monitor {

/// Runs the jobs of a root's tables through some hours in fast motion: triggers come due, jobs run
/// for a while and end, somebody edits a table and takes the edit back, a service comes and goes.
///
/// It starts no process and writes no file. The same root gives the same lines each time, because
/// everything follows from the tables and scripts. It always begins in a night in which summer time
/// begins in Berlin, and uses Berlin's clocks. A job's identifier decides how long the job takes.
class Simulation {
 public:
  /// Takes a line without the newline.
  using Print = std::function<void(const std::string& line)>;

  /// Reads the tables and scripts below `root`. Throws `TablesNotFound`.
  Simulation(const std::filesystem::path& root, const Style& style, Print print);

  [[nodiscard]] const std::vector<Warning>& warnings() const { return _tables.warnings; }

  /// Runs the simulation for `length`. Prints a line with the simulated time for each change in the
  /// collections. Then prints what views of the collections had to do: the steps of their updates,
  /// how many rows these concerned, and how many rows it would have been to show everything anew.
  /// The caller must call this only once.
  void run(std::chrono::hours length);

 private:
  struct Run {
    vexil::platform::Value event;
    Process process;
    Instant ends;
  };
  struct Happening {
    std::chrono::minutes after;
    void (Simulation::*what)();
  };

  void fill();
  void step(Instant now);
  void endRuns();
  void startDueJobs();
  void findService();
  void loseService();
  void editTable();
  void takeEditBack();
  void showTables();
  void showRuns();
  void showPending();
  void report(const Snapshot& before);
  void summarize(std::chrono::hours length);
  [[nodiscard]] Instant nextInstant() const;
  [[nodiscard]] std::chrono::seconds durationOf(const std::string& identifier) const;

  static const std::vector<Happening>& happenings();

  Style _style;
  Print _print;
  Zone _zone;
  Tables _tables;
  Tables _tablesBefore;  ///< the tables before the edit
  Scripts _scripts;
  Collections _collections;
  Views _views{_collections};
  std::vector<Run> _runs;
  Instant _now;
  std::string _day;  ///< the last day printed
  int _lastProcess;
  std::size_t _started = 0;
  std::size_t _ended = 0;
  std::size_t _moments = 0;
  ViewWork _work;
};

}  // namespace monitor
