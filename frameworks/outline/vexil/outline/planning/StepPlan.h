// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: puts what was found into steps.
#pragma once

#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/matching/Findings.h>
#include <vexil/outline/planning/SumTree.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vexil::detail {

/// What a step does to rows.
struct StepRows {
  OutlineRow* parent = nullptr;
  OutlineRow* newParent = nullptr;     // of rows that move
  std::vector<OutlineRow*> rows = {};  // that are inserted or changed
};

struct PlannedSteps {
  std::vector<OutlineStep> steps;
  std::vector<StepRows> rows;  // of each step
};

/// Puts what was found into steps that are right one after the other. Takes over the new rows.
///
/// The children of a row are seen like this: those that stay keep their order and divide the level
/// into gaps. In each gap first stand the rows that have taken places there, in their new order,
/// and behind them those that will leave, in their old order. So the position of each row at any
/// moment follows from two counts.
class StepPlan {
 public:
  explicit StepPlan(Findings& findings);

  /// `left` of the findings gets the items of all rows below those that are removed.
  [[nodiscard]] PlannedSteps make();

 private:
  enum class Fate : std::uint8_t { early, late, moves };
  struct Level {
    LevelChange* change;
    std::size_t depth = 0;  // afterwards
    std::vector<Fate> fatesOfGone;
    std::vector<Fate> fatesOfCome;
    SumTree leaving;  // those that have not left yet
    SumTree placed;   // those that have taken their places

    [[nodiscard]] std::size_t gapOfGone(std::size_t i) const { return change->gone[i].old - i; }
    [[nodiscard]] std::size_t gapOfCome(std::size_t i) const { return change->come[i].now - i; }
    [[nodiscard]] std::size_t positionOfGone(std::size_t i) const;
    [[nodiscard]] std::size_t positionOfCome(std::size_t i) const;
    [[nodiscard]] std::size_t goneBefore(std::size_t gap) const;  // in earlier gaps
    [[nodiscard]] std::size_t comeUpTo(std::size_t gap) const;    // in this and earlier gaps
  };
  struct Place {
    Level* level;
    std::size_t index;
  };

  void collectLevels();
  void decideFates();
  [[nodiscard]] std::size_t depthOf(OutlineRow& row);
  [[nodiscard]] OutlineRow* newParentOf(const OutlineRow& row) const;

  void remove(Fate fate);
  void remove(Level& level, std::size_t first, std::size_t end);
  void insert(Fate fate);
  void insert(Level& level, std::size_t first, std::size_t end);
  void moveAll();
  void move(Level& level, std::size_t first, std::size_t end);
  [[nodiscard]] bool movesTogether(const Level& level, std::size_t last, std::size_t entry) const;
  void change();
  [[nodiscard]] std::size_t positionAfterwards(OutlineRow& row) const;
  [[nodiscard]] std::vector<RowState> rowsAbove(const OutlineRow& row) const;
  void noteStateAfterwards(OutlineRow& row, const RowState& after);
  OutlineStep& addStep(OutlineStep::Kind kind, OutlineRow& parent);

  Findings* _findings;
  bool _doesAnyMove = false;
  PlannedSteps _planned;
  std::vector<std::unique_ptr<Level>> _levels;
  std::unordered_map<const OutlineRow*, Level*> _levelsByParent;
  std::unordered_map<const OutlineRow*, Place> _leaving;  // of the rows that move
  std::unordered_map<const OutlineRow*, OutlineRow*> _newParents;
  std::unordered_map<const OutlineRow*, std::uint32_t> _occurrencesAfterwards;  // of those
  std::unordered_set<const OutlineRow*> _hasMoved;  // to another parent, in a step so far
  std::unordered_map<const OutlineRow*, std::size_t> _depths;
};

}  // namespace vexil::detail
