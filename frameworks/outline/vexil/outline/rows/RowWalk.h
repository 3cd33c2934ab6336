// SPDX-License-Identifier: Apache-2.0
// Internal to the outline.
#pragma once

#include <vexil/outline/OutlineRow.h>

#include <cstddef>
#include <vector>

namespace vexil::detail {

/// Calls `visit` with a row and all rows below it, each before those below it.
template <class Visit>
void forEachRow(OutlineRow& top, const Visit& visit) {
  std::vector<OutlineRow*> open{&top};
  while (!open.empty()) {
    OutlineRow& row = *open.back();
    open.pop_back();
    visit(row);
    for (std::size_t i = row.childCount(); i > 0; --i) {
      open.push_back(row.child(i - 1));
    }
  }
}

}  // namespace vexil::detail
