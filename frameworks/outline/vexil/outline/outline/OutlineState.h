// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: everything that one outline has.
#pragma once

#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/changes/Journals.h>
#include <vexil/outline/planning/Preparation.h>
#include <vexil/outline/planning/StepPlan.h>
#include <vexil/outline/rows/RowsByItem.h>
#include <vexil/platform/detail/Operation.h>
#include <vexil/platform/detail/Watcher.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vexil::detail {

/// Outlives its outline while it is at work, because foreign code may destroy that meanwhile.
class OutlineState : public platform::detail::Watcher,
                     public platform::detail::AfterOperation,
                     public std::enable_shared_from_this<OutlineState> {
 public:
  using Item = KRAVTWVItemVexil;

  static std::shared_ptr<OutlineState> make(const std::shared_ptr<KRAVTWVItemsVexil>& collection,
                                            const std::shared_ptr<Item>& root,
                                            OutlineOptions options);
  OutlineState(const OutlineState&) = delete;
  OutlineState& operator=(const OutlineState&) = delete;
  ~OutlineState() override;
  /// Runs no more callbacks.
  void close() noexcept;

  [[nodiscard]] OutlineRow& top() noexcept { return *_top; }
  /// Counted up by each step that is applied; 0 when the outline is closed.
  [[nodiscard]] const std::uint64_t& rowsVersion() const noexcept { return _rowsVersion; }
  [[nodiscard]] std::size_t rowCount() const noexcept { return _rowCount; }
  [[nodiscard]] bool isOutOfDate() const noexcept { return _isOutOfDate || hasStep(); }
  void refreshAll();

  const OutlineUpdate& prepare();
  [[nodiscard]] bool hasStep() const noexcept { return _nextStep < _update.steps().size(); }
  [[nodiscard]] const OutlineStep* nextStep() const noexcept;
  [[nodiscard]] const StepRows* nextStepRows() const noexcept;
  void applyNext();
  void applyRest();
  /// Applies the steps that are left, and brings the rows up to date. Returns all these steps.
  [[nodiscard]] OutlineUpdate update();

 private:
  explicit OutlineState(OutlineOptions options);

  // Watcher
  void willChange(const platform::Observable& object,
                  const platform::ChangeRecord& change) noexcept override;
  void didChange(const platform::Observable& object,
                 const platform::ChangeRecord& change) noexcept override;
  void didDrop(const platform::Observable& object,
               const platform::ChangeRecord& change) noexcept override;
  void didSet(const platform::Observable& object, const platform::Key& key) noexcept override;
  void didEnd(const platform::Observable& object) noexcept override;
  void operationIsOver() noexcept override;

  template <class Note>
  void note(const platform::Observable& object, const Note& note) noexcept;
  [[nodiscard]] ItemJournal& journalOf(const platform::Observable& object);
  void becomeOutOfDate() noexcept;
  void refuse() noexcept;
  [[nodiscard]] bool isCollection(const platform::Observable& object) const noexcept;
  [[nodiscard]] std::shared_ptr<Item> root() const;
  [[nodiscard]] platform::detail::Watching watching() const noexcept;

  void applyAndNote();
  void takeUpApplied();
  [[nodiscard]] bool prepareNext();
  [[nodiscard]] bool prepareOnce();
  [[nodiscard]] std::vector<RowState> moveRows(const OutlineStep& step, const StepRows& rows);
  void giveUp(const Preparation& preparation);
  void commit(Findings& findings);
  void unwatch(const std::vector<std::weak_ptr<Item>>& items) noexcept;
  void takeOverEqualEvents(Findings& findings);
  void addToTable(OutlineRow& newRow);
  void removeFromTable(const Findings& findings);

  struct RowDeleter {
    void operator()(OutlineRow* row) const noexcept { RowFields::destroy(row); }
  };

  OutlineOptions _options;
  std::weak_ptr<KRAVTWVItemsVexil> _collection;  // null when an item is followed
  const platform::Observable* _collectionAddress = nullptr;
  std::weak_ptr<Item> _root;  // the item that is followed
  std::unique_ptr<OutlineRow, RowDeleter> _top;
  std::size_t _rowCount = 0;
  RowNumber _lastNumber = 0;
  RowsByItem _rowsByItem;
  bool _isTableLost = false;  // the one above is empty, and must be filled anew
  Journals _journals;
  std::uint64_t _rowsVersion = 1;
  std::uint64_t _version = 0;       // of the tree: counted up by each announcement
  std::uint64_t _failedMerges = 0;  // that were known at the last update
  bool _isOutOfDate = true;
  bool _mustCall = false;
  bool _hasGivenUp = false;  // the last update, because the tree changed each time
  bool _isClosed = false;

  OutlineUpdate _update;
  OutlineUpdate _refused;
  std::vector<StepRows> _stepRows;
  std::size_t _nextStep = 0;

  // What `update` has applied and not returned yet: steps of updates before, and those of this one.
  OutlineUpdate _applied;
  std::size_t _firstToReturn = 0;
  std::size_t _endToReturn = 0;
};

}  // namespace vexil::detail
