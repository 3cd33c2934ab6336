// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: sets of positions, as ranges.
#pragma once

#include <vexil/platform/IndexSet.h>

#include <cstddef>
#include <vector>

namespace vexil::detail {

/// Ranges of positions in ascending order; no two of them touch.
using Ranges = std::vector<platform::IndexSet::Range>;

/// Adds a range that is behind all others.
inline void append(Ranges& ranges, std::size_t first, std::size_t count) {
  if (count == 0) {
    return;
  }
  if (!ranges.empty() && ranges.back().end() == first) {
    ranges.back().count += count;
  } else {
    ranges.push_back({first, count});
  }
}

[[nodiscard]] std::size_t countOf(const Ranges& ranges) noexcept;

/// The positions of `set` after elements have been inserted at `inserted`, which are positions
/// afterwards.
[[nodiscard]] Ranges afterInsertion(const Ranges& set, const Ranges& inserted);

/// The positions of `set` after the elements at `removed` have been taken out; without those.
[[nodiscard]] Ranges afterRemoval(const Ranges& set, const Ranges& removed);

[[nodiscard]] Ranges united(const Ranges& a, const Ranges& b);

}  // namespace vexil::detail
