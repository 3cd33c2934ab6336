// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/matching/Survivors.h>

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace vexil::detail {

void Survivors::merge(Survivors others) {
  std::ranges::sort(others._runs, {}, &Run::now);
  std::vector<Run> all;
  all.reserve(_runs.size() + others._runs.size());
  std::ranges::merge(_runs, others._runs, std::back_inserter(all), {}, &Run::now, &Run::now);
  _runs.clear();
  _isInOrder = true;
  for (const Run& run : all) {
    add(run.now, run.old, run.count);
  }
}

bool Survivors::isAnyTwice() const {
  std::vector<Run> byOld;
  if (!_isInOrder) {
    byOld = _runs;
    std::ranges::sort(byOld, {}, &Run::old);
  }
  const std::vector<Run>& runs = _isInOrder ? _runs : byOld;
  return std::ranges::adjacent_find(runs, [](const Run& a, const Run& b) {
           return a.old + a.count > b.old;
         }) != runs.end();
}

void Survivors::decideWhoMoves() {
  if (_isInOrder) {
    return;
  }
  // The heaviest subsequence in which the old positions ascend stays. A run stays or moves as a
  // whole, because nothing stands between its rows in either order. `best` is a Fenwick tree over
  // the runs in their old order: the heaviest subsequence that ends among the first ones.
  constexpr std::size_t none = SIZE_MAX;
  const std::size_t count = _runs.size();
  std::vector<std::size_t> byOld(count);
  std::iota(byOld.begin(), byOld.end(), std::size_t{0});
  std::ranges::sort(byOld, {}, [&](std::size_t run) { return _runs[run].old; });
  std::vector<std::size_t> rank(count);
  for (std::size_t i = 0; i < count; ++i) {
    rank[byOld[i]] = i;
  }
  std::vector<std::uint64_t> weight(count);
  std::vector<std::size_t> before(count, none);
  std::vector<std::size_t> best(count + 1, none);
  const auto heavier = [&](std::size_t a, std::size_t b) {
    return b == none || (a != none && weight[a] > weight[b]);
  };
  std::size_t heaviest = none;
  for (std::size_t run = 0; run < count; ++run) {
    for (std::size_t i = rank[run]; i > 0; i -= i & (~i + 1)) {
      before[run] = heavier(best[i], before[run]) ? best[i] : before[run];
    }
    // Of equally heavy ones, that with the most runs, so that fewer runs move.
    weight[run] = (std::uint64_t{_runs[run].count} << 32) + 1 +
                  (before[run] == none ? 0 : weight[before[run]]);
    for (std::size_t i = rank[run] + 1; i <= count; i += i & (~i + 1)) {
      best[i] = heavier(run, best[i]) ? run : best[i];
    }
    heaviest = heavier(run, heaviest) ? run : heaviest;
    _runs[run].moves = true;
  }
  for (std::size_t run = heaviest; run != none; run = before[run]) {
    _runs[run].moves = false;
  }
}

}  // namespace vexil::detail
