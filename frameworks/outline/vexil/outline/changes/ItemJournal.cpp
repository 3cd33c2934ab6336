// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/changes/ItemJournal.h>

#include <utility>

namespace vexil::detail {

using platform::ChangeKind;
using platform::ChangeRecord;

void ItemJournal::end(const ChangeRecord& change, bool isIdentified,
                      std::shared_ptr<const EventLineage> lineage) {
  _isOneMerge = _isOneMerge && lineage && (!_lineage || _lineage == lineage);
  _isMergeComplete = lineage && change.kind == ChangeKind::replacement;
  _lineage = std::move(lineage);
  // Changes of one item that overlap come from foreign code in the middle. Then the positions of
  // the outer one may be those of another array.
  if (_open != 1) {
    forget();
  }
  _open -= _open == 0 ? 0 : 1;
  _isIdentified = _isIdentified && (isIdentified || change.kind == ChangeKind::removal);
  if (_isKnown) {
    apply(change);
  }
}

void ItemJournal::drop() noexcept {
  _open -= _open == 0 ? 0 : 1;
  forget();
}

void ItemJournal::forget() noexcept {
  _isKnown = false;
  _isIdentified = false;
  _isOneMerge = false;
  _isMergeComplete = false;
  _gone.clear();
  _come.clear();
  _dirty.clear();
}

void ItemJournal::apply(const ChangeRecord& change) {
  if (change.kind == ChangeKind::setting || !change.indexes) {
    forget();
    return;
  }
  const Ranges& at = change.indexes->ranges();
  switch (change.kind) {
    case ChangeKind::removal: {
      // Those that were there before go by their old positions.
      const Ranges old = afterInsertion(afterRemoval(at, _come), _gone);
      _gone = united(_gone, old);
      _come = afterRemoval(_come, at);
      _dirty = afterRemoval(_dirty, at);
      break;
    }
    case ChangeKind::insertion:
      _come = united(afterInsertion(_come, at), at);
      _dirty = afterInsertion(_dirty, at);
      break;
    default:
      _dirty = united(_dirty, at);
  }
}

bool ItemJournal::explains(std::size_t oldCount, std::size_t count) const noexcept {
  const auto reach = [](const Ranges& ranges) { return ranges.empty() ? 0 : ranges.back().end(); };
  return _isKnown && _open == 0 && reach(_gone) <= oldCount && reach(_come) <= count &&
         reach(_dirty) <= count && oldCount - countOf(_gone) + countOf(_come) == count;
}

}  // namespace vexil::detail
