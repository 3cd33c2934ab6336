// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/OutlineUpdate.h>

#include <algorithm>
#include <numeric>

namespace vexil {

using platform::Key;
using platform::Value;

RowAspects RowChange::aspects() const {
  // A host's equality may assign to this change.
  const RowState old = before;
  const RowState fresh = after;
  RowAspects aspects = RowAspects::none;
  const auto add = [&](bool differs, RowAspects aspect) {
    if (differs) {
      aspects = aspects | aspect;
    }
  };
  add(old.label() != fresh.label(), RowAspects::label);
  add(old.enabled() != fresh.enabled(), RowAspects::enabled);
  add(old.supportsEnabled() != fresh.supportsEnabled(), RowAspects::supportsEnabled);
  add(old.isGroup() != fresh.isGroup(), RowAspects::group);
  add(old.isExpandable() != fresh.isExpandable(), RowAspects::expandable);
  add(old.representedObject() != fresh.representedObject(), RowAspects::representedObject);
  return aspects;
}

std::vector<KeyChange> RowChange::changedKeys() const {
  const Value old = before.representedObject();
  const Value fresh = after.representedObject();
  std::vector<KeyChange> changes;
  if (!old.isDictionary() || !fresh.isDictionary() || old.sharesStorageWith(fresh)) {
    return changes;
  }
  for (std::size_t i = 0; i < old.keys().size(); ++i) {
    const Key& key = old.keys()[i];
    if (old.values()[i] != fresh[key]) {
      changes.push_back({key, old.values()[i], fresh[key]});
    }
  }
  for (std::size_t i = 0; i < fresh.keys().size(); ++i) {
    if (const Key& key = fresh.keys()[i]; old[key].isAbsent()) {
      changes.push_back({key, Value(), fresh.values()[i]});
    }
  }
  return changes;
}

std::size_t OutlineUpdate::rowsTouched() const noexcept {
  return std::accumulate(
      _steps.begin(), _steps.end(), std::size_t{0},
      [](std::size_t sum, const OutlineStep& step) { return sum + step.rowCount; });
}

}  // namespace vexil
