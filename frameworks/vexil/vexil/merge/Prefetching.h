// SPDX-License-Identifier: Apache-2.0
// Internal to the merge: memory that loops over children and records will need is fetched some
// turns before. Without that, a refresh of 100,000 records mostly waits for memory.
#pragma once

#include <vexil/merge/FreshEvents.h>

#include <cstddef>

namespace vexil::detail {

/// A thing is fetched this many turns before it is needed.
inline constexpr std::size_t turnsAhead = 6;

/// For a loop that compares children with records at the same positions and has come to `index`.
[[gnu::always_inline]] inline void prefetchToCompare(const KRAVTWVItemArray& children,
                                                     const FreshEvents& events, std::size_t index) {
  if (index + 3 * turnsAhead >= children.size() || index + turnsAhead >= events.size()) {
    return;
  }
  ItemFields::prefetch(children[index + 3 * turnsAhead].get());
  const auto& next = children[index + turnsAhead];
  if (next && ItemFields::equalRecord(*next).list() == 0) {
    // Nothing is remembered, so the records themselves will be compared.
    ItemFields::prefetchRecord(next.get());
    events.record(index + turnsAhead).prefetch();
  }
}

/// For a loop that has children take over records and has come to `index`.
[[gnu::always_inline]] inline void prefetchToReplace(const KRAVTWVItemArray& children,
                                                     const FreshEvents& events, std::size_t index) {
  if (index + 2 * turnsAhead < children.size() && index + 2 * turnsAhead < events.size()) {
    ItemFields::prefetch(children[index + 2 * turnsAhead].get());
    ItemFields::prefetchRecord(children[index + turnsAhead].get(), 1);
    events.record(index + turnsAhead).prefetch(1);
  }
}

}  // namespace vexil::detail
