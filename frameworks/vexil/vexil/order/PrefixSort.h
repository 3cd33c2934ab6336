// SPDX-License-Identifier: Apache-2.0
// Internal to collections: sorting by texts that mostly differ at the beginning.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexil::detail {

/// Distributes entries over buckets by the bits in which they differ, and then sorts each bucket in
/// the same way. A usual sort compares, and a processor mispredicts half of its comparisons. That
/// costs more than moving the entries.
class PrefixSort {
 public:
  /// The first bytes of a text, as numbers that compare like the text.
  using Prefix = std::array<std::uint64_t, 3>;
  struct Entry {
    Prefix prefix;
    std::uint32_t index;
  };

  /// Sorts by prefix. If prefixes are equal, `comesBefore` decides, which must be a strict total
  /// order.
  template <class ComesBefore>
  static void sort(std::vector<Entry>& entries, const ComesBefore& comesBefore) {
    std::vector<Entry> spare(entries.size());
    sort(std::span(entries), spare, 0, comesBefore);
  }

 private:
  static constexpr std::size_t maxForInsertion = 12;

  /// Sorts entries that agree in the words before `word`. The recursion is at most as deep as a
  /// prefix has digits.
  template <class ComesBefore>
  static void sort(std::span<Entry> entries, std::span<Entry> spare, std::size_t word,
                   const ComesBefore& comesBefore) {
    if (entries.size() <= maxForInsertion) {
      insertionSort(entries, word, comesBefore);
      return;
    }
    std::uint64_t differing = 0;
    while (differing == 0 && word < Prefix().size()) {
      for (const Entry& entry : entries) {
        differing |= entry.prefix[word] ^ entries.front().prefix[word];
      }
      word += differing == 0 ? 1 : 0;
    }
    if (differing == 0) {
      std::ranges::sort(entries, comesBefore);
    } else if (entries.size() <= 256) {
      distribute<5>(entries, spare, word, differing, comesBefore);
    } else {
      distribute<8>(entries, spare, word, differing, comesBefore);
    }
  }

  template <unsigned bits, class ComesBefore>
  static void distribute(std::span<Entry> entries, std::span<Entry> spare, std::size_t word,
                         std::uint64_t differing, const ComesBefore& comesBefore) {
    constexpr std::uint64_t buckets = std::uint64_t{1} << bits;
    const unsigned width = static_cast<unsigned>(std::bit_width(differing));
    const unsigned shift = width > bits ? width - bits : 0;
    const auto bucketOf = [&](const Entry& entry) {
      return entry.prefix[word] >> shift & (buckets - 1);
    };
    std::array<std::uint32_t, buckets + 1> begins{};
    for (const Entry& entry : entries) {
      ++begins[bucketOf(entry) + 1];
    }
    for (std::size_t i = 0; i < buckets; ++i) {
      begins[i + 1] += begins[i];
    }
    auto next = begins;
    for (const Entry& entry : entries) {
      spare[next[bucketOf(entry)]++] = entry;
    }
    std::ranges::copy(spare.first(entries.size()), entries.begin());
    for (std::size_t i = 0; i < buckets; ++i) {
      if (const std::size_t count = begins[i + 1] - begins[i]; count > 1) {
        sort(entries.subspan(begins[i], count), spare, word, comesBefore);
      }
    }
  }

  template <class ComesBefore>
  static void insertionSort(std::span<Entry> entries, std::size_t word,
                            const ComesBefore& comesBefore) {
    const auto before = [&](const Entry& a, const Entry& b) {
      for (std::size_t i = word; i < a.prefix.size(); ++i) {
        if (a.prefix[i] != b.prefix[i]) {
          return a.prefix[i] < b.prefix[i];
        }
      }
      return comesBefore(a, b);
    };
    for (std::size_t i = 1; i < entries.size(); ++i) {
      const Entry entry = entries[i];
      std::size_t to = i;
      for (; to > 0 && before(entry, entries[to - 1]); --to) {
        entries[to] = entries[to - 1];
      }
      entries[to] = entry;
    }
  }
};

}  // namespace vexil::detail
