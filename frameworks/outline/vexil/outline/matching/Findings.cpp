// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/matching/Findings.h>
#include <vexil/outline/rows/RowStateFields.h>

#include <utility>

namespace vexil::detail {

void Findings::noteState(OutlineRow& row, RowState after, std::size_t now) {
  const RowState& before = row.state();
  RowStateFields::setNumber(after, row.number());
  if (!RowStateFields::showTheSame(before, after)) {
    changed.push_back({&row, std::move(after), now});
    return;
  }
  if (before.occurrence() == after.occurrence() && RowStateFields::haveLikeDetails(before, after)) {
    // Shares them, so that the new ones need not stay.
    after =
        RowStateFields::withObject(before, after.representedObject(), RowStateFields::flags(after));
  }
  equalStates.emplace_back(&row, std::move(after));
}

}  // namespace vexil::detail
