// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/changes/Ranges.h>

#include <algorithm>

namespace vexil::detail {

std::size_t countOf(const Ranges& ranges) noexcept {
  std::size_t count = 0;
  for (const auto& range : ranges) {
    count += range.count;
  }
  return count;
}

Ranges afterInsertion(const Ranges& set, const Ranges& inserted) {
  Ranges after;
  auto next = inserted.begin();
  std::size_t shift = 0;
  for (const auto& range : set) {
    std::size_t first = range.first;
    while (first < range.end()) {
      while (next != inserted.end() && next->first <= first + shift) {
        shift += (next++)->count;
      }
      // Up to the next insertion, all are shifted alike.
      const std::size_t end =
          next == inserted.end() ? range.end() : std::min(range.end(), next->first - shift);
      append(after, first + shift, end - first);
      first = end;
    }
  }
  return after;
}

Ranges afterRemoval(const Ranges& set, const Ranges& removed) {
  Ranges after;
  auto next = removed.begin();
  std::size_t shift = 0;  // how many are removed before
  for (const auto& range : set) {
    std::size_t first = range.first;
    while (first < range.end()) {
      while (next != removed.end() && next->end() <= first) {
        shift += (next++)->count;
      }
      if (next == removed.end() || next->first >= range.end()) {
        append(after, first - shift, range.end() - first);
        break;
      }
      if (next->first > first) {
        append(after, first - shift, next->first - first);
      }
      first = next->end();
    }
  }
  return after;
}

Ranges united(const Ranges& a, const Ranges& b) {
  if (a.empty() || b.empty()) {
    return a.empty() ? b : a;
  }
  Ranges all;
  all.reserve(a.size() + b.size());
  std::ranges::merge(a, b, std::back_inserter(all), {}, &platform::IndexSet::Range::first,
                     &platform::IndexSet::Range::first);
  Ranges joined;
  for (const auto& range : all) {
    const std::size_t from =
        joined.empty() ? range.first : std::max(range.first, joined.back().end());
    if (from < range.end()) {
      append(joined, from, range.end() - from);
    }
  }
  return joined;
}

}  // namespace vexil::detail
