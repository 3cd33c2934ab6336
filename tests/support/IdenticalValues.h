// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace test {

/// Which values are taken for the same.
enum class Sameness {
  toTheBit,
  asXMLHasIt,  ///< but XML does not tell NaNs, nor the two zeros of dates, apart
};

inline bool sameReal(double a, double b, Sameness sameness) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
         (sameness == Sameness::asXMLHasIt && std::isnan(a) && std::isnan(b));
}

inline bool sameDate(double a, double b, Sameness sameness) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
         (sameness == Sameness::asXMLHasIt && a == b);
}

/// Whether two values are the same, the order of keys and the types of numbers included, which
/// equality does not look at.
inline bool identical(const vexil::platform::Value& a, const vexil::platform::Value& b,
                      Sameness sameness = Sameness::toTheBit) {
  std::vector<std::pair<const vexil::platform::Value*, const vexil::platform::Value*>> pending = {
      {&a, &b}};
  while (!pending.empty()) {
    const auto [left, right] = pending.back();
    pending.pop_back();
    const auto leftContents = left->isArray() ? left->elements() : left->values();
    const auto rightContents = right->isArray() ? right->elements() : right->values();
    if (left->kind() != right->kind() || leftContents.size() != rightContents.size() ||
        !std::ranges::equal(left->keys(), right->keys())) {
      return false;
    }
    if (left->real()   ? !sameReal(*left->real(), *right->real(), sameness)
        : left->date() ? !sameDate(left->date()->seconds, right->date()->seconds, sameness)
                       : !left->isArray() && !left->isDictionary() && !(*left == *right)) {
      return false;
    }
    for (std::size_t i = 0; i < leftContents.size(); ++i) {
      pending.emplace_back(&leftContents[i], &rightContents[i]);
    }
  }
  return true;
}

}  // namespace test
