// SPDX-License-Identifier: Apache-2.0
#include <vexil/merge/IdentifierDifference.h>
#include <vexil/order/PlaceTable.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace vexil::detail {

using platform::IndexSet;
using platform::Value;

namespace {

using Positions = std::vector<std::uint32_t>;

/// The positions in each list that have no partner: the walk found no equal element for them in the
/// other list.
struct Unpaired {
  Positions old;
  Positions fresh;
};

/// How far ahead the walk looks for the next pair of equal elements.
constexpr std::size_t window = 8;

/// How many elements to skip in each list so that both go on with equal ones.
std::optional<std::pair<std::size_t, std::size_t>> gap(std::span<const Value> old,
                                                       std::span<const Value> fresh) {
  for (std::size_t sum = 1; sum < window; ++sum) {
    for (std::size_t inOld = 0; inOld <= sum; ++inOld) {
      const std::size_t inFresh = sum - inOld;
      if (inOld < old.size() && inFresh < fresh.size() && old[inOld] == fresh[inFresh]) {
        return {{inOld, inFresh}};
      }
    }
  }
  return std::nullopt;
}

Unpaired walk(std::span<const Value> old, std::span<const Value> fresh) {
  Unpaired unpaired;
  std::size_t i = 0;
  std::size_t j = 0;
  const auto skip = [&](std::size_t inOld, std::size_t inFresh) {
    for (; inOld > 0; --inOld) {
      unpaired.old.push_back(static_cast<std::uint32_t>(i++));
    }
    for (; inFresh > 0; --inFresh) {
      unpaired.fresh.push_back(static_cast<std::uint32_t>(j++));
    }
  };
  while (i < old.size() && j < fresh.size()) {
    if (old[i] == fresh[j]) {
      ++i;
      ++j;
    } else if (const auto found = gap(old.subspan(i), fresh.subspan(j))) {
      skip(found->first, found->second);
    } else {
      skip(1, 1);
    }
  }
  skip(old.size() - i, fresh.size() - j);
  return unpaired;
}

/// Some of the identifiers of a list, which are looked for among many others.
class Sought {
 public:
  Sought(std::span<const Value> identifiers, const Positions& positions)
      : _identifiers(identifiers),
        _table(positions.size() * 2),
        _first(identifiers.size()),
        _isFound(identifiers.size()) {
    for (const std::uint32_t position : positions) {
      // Of equal identifiers the first stands for all. An object in place of an identifier is asked
      // once, because it may answer otherwise the next time.
      const std::size_t hash = identifiers[position].hash();
      _first[position] = positionOf(identifiers[position], hash);
      if (_first[position] == PlaceTable::nowhere) {
        _first[position] = position;
        _table.insert(hash, position);
      }
    }
  }

  void lookAmong(std::span<const Value> others) {
    for (const Value& other : others) {
      const std::uint32_t position = positionOf(other, other.hash());
      if (position != PlaceTable::nowhere) {
        _isFound[position] = true;
      }
    }
  }

  [[nodiscard]] bool isFound(std::uint32_t position) const { return _isFound[_first[position]]; }

 private:
  [[nodiscard]] std::uint32_t positionOf(const Value& identifier, std::size_t hash) const {
    return _table.find(
        hash, [&](PlaceTable::Place position) { return _identifiers[position] == identifier; });
  }

  std::span<const Value> _identifiers;
  PlaceTable _table;
  std::vector<std::uint32_t> _first;  // for each position, that of the first equal identifier
  std::vector<bool> _isFound;
};

/// Those of the positions whose identifier is not among the others.
IndexSet missingAmong(std::span<const Value> others, std::span<const Value> identifiers,
                      const Positions& positions) {
  IndexSet missing;
  if (positions.empty()) {
    return missing;
  }
  if (others.empty()) {
    for (const std::uint32_t position : positions) {
      missing.insert(position);
    }
    return missing;
  }
  constexpr std::size_t few = 2;
  if (positions.size() <= few) {
    // Comparing takes less time than hashing all.
    for (const std::uint32_t position : positions) {
      if (std::ranges::find(others, identifiers[position]) == others.end()) {
        missing.insert(position);
      }
    }
    return missing;
  }
  Sought sought(identifiers, positions);
  sought.lookAmong(others);
  for (const std::uint32_t position : positions) {
    if (!sought.isFound(position)) {
      missing.insert(position);
    }
  }
  return missing;
}

}  // namespace

IdentifierDifference identifierDifference(std::span<const Value> old,
                                          std::span<const Value> fresh) {
  if (std::ranges::equal(old, fresh)) {
    return {};  // the usual refresh
  }
  const Unpaired unpaired = walk(old, fresh);
  return {missingAmong(fresh, old, unpaired.old), missingAmong(old, fresh, unpaired.fresh)};
}

}  // namespace vexil::detail
