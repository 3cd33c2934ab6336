// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/matching/Identity.h>
#include <vexil/outline/rows/QuietLog.h>

namespace vexil::detail {

using platform::Value;

bool Identity::areEqualByAsking(const Value& a, const Value& b) {
  const Value left = a;  // copies: whoever is asked may let go of them
  const Value right = b;
  try {
    return left == right;
  } catch (...) {
    logCaughtException("isEqual of an identifier");
    return false;
  }
}

std::size_t Identity::hashByAsking(const Value& identifier) {
  const Value held = identifier;
  try {
    return held.hash();
  } catch (...) {
    logCaughtException("hash of an identifier");
    return 0;
  }
}

}  // namespace vexil::detail
