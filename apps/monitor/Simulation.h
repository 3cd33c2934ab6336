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
#include "monitor/Zone.h"

namespace monitor {

/// The jobs of a root's tables, run through some hours in fast motion: triggers come due, jobs run
/// for a while and end, somebody edits a table and takes the edit back, a service comes and goes.
///
/// Nothing is really run, and no file is written. Everything follows from the tables and scripts:
/// it begins on the night in which summer time begins in Berlin, by Berlin's clocks, whatever time
/// it is, and how long a job takes follows from its identifier. So the same root gives the same
/// lines each time.
class Simulation {
 public:
  /// Takes a line, without its end.
  using Print = std::function<void(const std::string& line)>;

  /// Reads the tables and scripts below `root`. Raises `TablesNotFound`.
  Simulation(const std::filesystem::path& root, const Style& style, Print print);

  [[nodiscard]] const std::vector<Warning>& warnings() const { return _tables.warnings; }

  /// Runs from the beginning for so long. Prints a line for each change that the collections have
  /// seen, with the simulated clock, and then what was announced, and how much of what it shows a
  /// view that listens had to touch. To be called once.
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
  void summarize(std::chrono::hours length, const Announcements::Counts& before);
  [[nodiscard]] Instant nextInstant() const;
  [[nodiscard]] std::chrono::seconds durationOf(const std::string& identifier) const;
  [[nodiscard]] Announcements::Counts counts() const;
  [[nodiscard]] std::size_t rowsShown() const;

  static const std::vector<Happening>& happenings();

  Style _style;
  Print _print;
  Zone _zone;
  Tables _tables;
  Tables _tablesBefore;  ///< as they were before the edit
  Scripts _scripts;
  Collections _collections;
  std::vector<Run> _runs;
  Instant _now;
  std::string _day;  ///< the one printed last
  int _lastProcess;
  std::size_t _started = 0;
  std::size_t _ended = 0;
  std::size_t _moments = 0;
  std::size_t _rowsShown = 0;
};

}  // namespace monitor
