// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/IndexSet.h>

#include <algorithm>
#include <cstdint>

namespace vexil::platform {

IndexSet::IndexSet(std::initializer_list<std::size_t> indexes) {
  for (const std::size_t index : indexes) {
    insert(index);
  }
}

IndexSet IndexSet::range(std::size_t first, std::size_t end) {
  IndexSet set;
  if (first < end) {
    set._ranges.push_back({first, end - first});
    set._count = end - first;
  }
  return set;
}

void IndexSet::insertAnywhere(std::size_t index) {
  if (index == SIZE_MAX) {
    throw RangeError("no list has a position " + std::to_string(index));
  }
  // The first range that ends at or behind `index`. It holds the index already, or grows to hold
  // it, or comes after it.
  const auto at = _ranges.empty() || _ranges.back().end() < index
                      ? _ranges.end()
                      : std::ranges::lower_bound(_ranges, index, {}, &Range::end);
  if (at != _ranges.end() && at->first <= index && index < at->end()) {
    return;
  }
  ++_count;
  if (at != _ranges.end() && at->end() == index) {
    ++at->count;
    const auto next = at + 1;
    if (next != _ranges.end() && next->first == at->end()) {
      at->count += next->count;
      _ranges.erase(next);
    }
  } else if (at != _ranges.end() && at->first == index + 1) {
    --at->first;
    ++at->count;
  } else {
    _ranges.insert(at, {index, 1});
  }
}

bool IndexSet::contains(std::size_t index) const noexcept {
  const auto at = std::ranges::upper_bound(_ranges, index, {}, &Range::first);
  return at != _ranges.begin() && index < std::prev(at)->end();
}

std::optional<std::size_t> IndexSet::first() const noexcept {
  return empty() ? std::nullopt : std::optional(_ranges.front().first);
}

std::optional<std::size_t> IndexSet::last() const noexcept {
  return empty() ? std::nullopt : std::optional(_ranges.back().end() - 1);
}

std::string IndexSet::description() const {
  std::string text = "{";
  for (const Range& range : _ranges) {
    text += text.size() > 1 ? ", " : "";
    text += std::to_string(range.first);
    if (range.count > 1) {
      text += "-" + std::to_string(range.end() - 1);
    }
  }
  return text + "}";
}

}  // namespace vexil::platform
