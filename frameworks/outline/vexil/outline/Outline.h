// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/OutlineUpdate.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

class KRAVTWVItemsVexil;
class KRAVTWVItemVexil;

namespace vexil {

class RowSet;

namespace detail {
class OutlineState;
}

struct OutlineOptions {
  /// Also follows what is set directly on a live item and is not announced as a change of children:
  /// label, enabled flag, represented object, and any other key that is announced. Without it, such
  /// a change shows with the next refresh that replaces the row, or after `refreshAll`.
  bool followsProperties = false;

  /// Called once each time the outline goes from up to date to out of date: when the library has
  /// ended what it does, never in the middle. The place to schedule a turn of the event loop, in
  /// which to update; `update` may also be called at once. Called again when an update was asked
  /// for in the middle of an operation and could not be made; but not when the code that asked ran
  /// in an update of this outline that could be made. It may do anything, also destroy the
  /// outline. An exception out of it is logged.
  ///
  /// When foreign code that runs in an update changes the tree, the update takes that in. When it
  /// does so again and again, this is called before that `update` returns.
  std::function<void()> outOfDate = {};
};

/// The rows that a view shows of a tree of items, in step with the tree but never in the middle of
/// a change.
///
///     Outline outline(list, {.outOfDate = [&] { loop.post(refresh); }});
///     view.apply(outline.update());  // the first one brings all rows
///     list->setEvents(records);      // the outline is out of date; its rows stay as they were
///
/// Identity. A row is the same row as long as its parent row is the same and the item's `uniqueID`
/// is. Among siblings that share one, the first is the same as the first was, the second as the
/// second. An item without an identifier is identified by itself. The item objects do not matter:
/// a merge pairs items by position, so after one rename many items stand for other records, but
/// only one row has moved. When exactly one row that would be removed and exactly one that would be
/// inserted have the same identifier and class, the row moves to its other parent instead.
///
/// Updates. The outline notes what the tree announces and does nothing else until it is asked.
/// `update` returns the refresh as a value and applies it. A view that must hear of a change before
/// it happens calls `prepare`, and then for each step `nextStep`, its own beginning, `applyNext`,
/// its own end. In the middle of an operation of the library an update is empty, and the outline
/// stays out of date: rows always show the tree between two operations.
///
/// What is found. Everything that is announced as a change of "children" anywhere in the tree, and
/// the collection's "root". Children that were added without an announcement are found when that
/// level next changes and its count differs, or after `refreshAll`.
///
/// Foreign code runs in updates only: kinds of a host are asked for what they show. It may do
/// anything; when it changes the tree, the update begins anew, and when it changes it each time,
/// the update is empty and the outline stays out of date. A getter that throws reads as absent or
/// false, and that is logged. Only `std::bad_alloc` passes on, out of `update`, `prepare` and
/// `applyNext`. The next update goes on from there.
///
/// The outline refers to the collection and the tree weakly. When the collection or the item that
/// it follows is destroyed, it is out of date, and the next update removes all rows. It may be
/// destroyed at any time, also in its own callback. It belongs to one thread at a time, the tree's.
///
/// Cost. An announcement takes time in proportion to its ranges of indexes, an update in proportion
/// to what was announced. Making a row takes less time than making its item, and a row takes about
/// 90 bytes.
class Outline {
 public:
  /// Follows the tree of a collection, whatever its root is. Throws `InvalidArgument` for a null
  /// pointer.
  explicit Outline(const std::shared_ptr<KRAVTWVItemsVexil>& collection,
                   OutlineOptions options = {});
  /// Follows the tree below an item, which is the top and is not shown itself.
  explicit Outline(const std::shared_ptr<KRAVTWVItemVexil>& root, OutlineOptions options = {});
  Outline(const Outline&) = delete;
  Outline& operator=(const Outline&) = delete;
  ~Outline();

  /// The row above all others. It lives as long as the outline.
  [[nodiscard]] OutlineRow& top() const noexcept;
  /// How many rows there are, without the top.
  [[nodiscard]] std::size_t rowCount() const noexcept;

  /// Whether an update might have steps: the tree may have changed, or prepared steps are left.
  /// True at first.
  [[nodiscard]] bool isOutOfDate() const noexcept;

  /// Applies the steps that are left of a `prepare`, and then prepares and applies all that is out
  /// of date. Returns what was applied. Empty in the middle of an operation of the library.
  ///
  /// Steps are returned once and in the order in which they were applied. A callback that is called
  /// before this returns may update. Then that update brings these steps as well, and this one is
  /// empty. Steps that were applied before this threw come with the next update. So while an
  /// `update` has not returned, and after it threw, do not apply single steps: whoever follows them
  /// would hear of them before those.
  OutlineUpdate update();

  /// Finds out what has to be done, and changes no row yet. While steps of it are left, it returns
  /// the same update again. What it refers to stays as it is until the next `update`, or until the
  /// next `prepare` after the last step. When the tree changes before that, `outOfDate` is called
  /// again. Empty in the middle of an operation of the library.
  const OutlineUpdate& prepare();
  /// The step that `applyNext` will apply; null when there is none. The pointer stays valid as long
  /// as what `prepare` returned, also after the step is applied.
  [[nodiscard]] const OutlineStep* nextStep() const noexcept;
  /// The row that `parent` of the next step names, and the one that `newParent` names. Null when
  /// there is no next step. `newParent` is null when it does not move rows.
  [[nodiscard]] OutlineRow* nextParent() const noexcept;
  [[nodiscard]] OutlineRow* nextNewParent() const noexcept;
  /// Applies the next step. Does nothing when there is none.
  void applyNext();
  /// Applies all steps that are left.
  void applyRest();

  /// Makes the next update compare every row with its item.
  void refreshAll();

 private:
  friend class RowSet;
  /// Counted up by each step that is applied; 0 when the outline is gone. The rows stay as long as
  /// this is held and no step is applied.
  [[nodiscard]] std::shared_ptr<const std::uint64_t> rowsVersion() const noexcept;

  std::shared_ptr<detail::OutlineState> _state;
};

}  // namespace vexil
