// SPDX-License-Identifier: Apache-2.0
// Sets of rows written briefly, as property lists.
#pragma once

#include <gtest/gtest.h>
#include <vexil/outline/RowSet.h>
#include <vexil/platform/Value.h>

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace test {

/// An entry of the property list of a set, for a row that is in the set when `in`.
inline vexil::platform::Value entry(const vexil::platform::Value& uniqueID, bool in,
                                    std::vector<vexil::platform::Value> below = {},
                                    std::uint32_t occurrence = 0) {
  using vexil::platform::Value;
  return Value::dictionary({{"id", uniqueID},
                            {"occurrence", occurrence == 0 ? Value() : Value(occurrence)},
                            {"in", in ? Value(true) : Value()},
                            {"below", below.empty() ? Value() : Value::array(std::move(below))}});
}

inline vexil::platform::Value rows(std::vector<vexil::platform::Value> entries) {
  return vexil::platform::Value::dictionary(
      {{"rows", vexil::platform::Value::array(std::move(entries))}});
}

/// The set of a property list. When it is none, the test fails and the set is empty.
inline vexil::RowSet setOf(const vexil::platform::Value& propertyList) {
  std::optional<vexil::RowSet> set = vexil::RowSet::fromPropertyList(propertyList);
  EXPECT_TRUE(set.has_value()) << propertyList.description().substr(0, 500);
  return set ? std::move(*set) : vexil::RowSet();
}
inline vexil::RowSet setWith(std::vector<vexil::platform::Value> entries) {
  return setOf(rows(std::move(entries)));
}

}  // namespace test
