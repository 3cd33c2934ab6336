// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/matching/Occurrences.h>

#include <algorithm>
#include <bit>
#include <utility>

namespace vexil::detail {

namespace {

/// Sixteen bits for each of some hashes. Says which have been seen; rarely also one that has not.
class SeenBits {
 public:
  explicit SeenBits(std::size_t count)
      : _bits(std::bit_ceil(count / 4 + 1)), _shift(64 - std::countr_zero(_bits.size() * 64)) {}

  /// Returns whether it was there already.
  bool insert(std::uint64_t hash) {
    const std::uint64_t bit = bitOf(hash);
    std::uint64_t& word = _bits[bit / 64];
    const bool wasThere = (word >> bit % 64 & 1) != 0;
    word |= std::uint64_t{1} << bit % 64;
    return wasThere;
  }
  [[nodiscard]] bool contains(std::uint64_t hash) const {
    const std::uint64_t bit = bitOf(hash);
    return (_bits[bit / 64] >> bit % 64 & 1) != 0;
  }

 private:
  [[nodiscard]] std::uint64_t bitOf(std::uint64_t hash) const {
    return hash * 0x9e3779b97f4a7c15U >> _shift;
  }
  std::vector<std::uint64_t> _bits;
  int _shift;
};

}  // namespace

std::vector<std::uint32_t> Occurrences::number(
    const std::vector<std::uint64_t>& hashes,
    const std::function<bool(std::size_t, std::size_t)>& areEqual) {
  // Only those can be equal whose bit was set twice; these are few.
  SeenBits seen(hashes.size());
  std::vector<std::uint64_t> suspects;
  for (const std::uint64_t hash : hashes) {
    if (seen.insert(hash)) {
      suspects.push_back(hash);
    }
  }
  if (suspects.empty()) {
    return {};
  }
  SeenBits suspected(suspects.size());
  for (const std::uint64_t hash : suspects) {
    suspected.insert(hash);
  }
  std::vector<std::pair<std::uint64_t, std::size_t>> candidates;
  for (std::size_t i = 0; i < hashes.size(); ++i) {
    if (suspected.contains(hashes[i])) {
      candidates.emplace_back(hashes[i], i);
    }
  }
  std::ranges::sort(candidates);

  std::vector<std::uint32_t> occurrences;
  std::vector<std::pair<std::size_t, std::uint32_t>> distinct;  // of one hash, and how often so far
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    const auto [hash, index] = candidates[i];
    if (i == 0 || candidates[i - 1].first != hash) {
      distinct.clear();
    }
    const auto same = std::ranges::find_if(
        distinct, [&](const auto& other) { return areEqual(other.first, index); });
    if (same == distinct.end()) {
      distinct.emplace_back(index, 0);
      continue;
    }
    occurrences.resize(hashes.size());
    occurrences[index] = ++same->second;
  }
  return occurrences;
}

}  // namespace vexil::detail
