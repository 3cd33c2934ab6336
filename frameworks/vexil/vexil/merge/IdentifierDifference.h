// SPDX-License-Identifier: Apache-2.0
// Internal to the merge: which identifiers came and which went.
#pragma once

#include <vexil/platform/IndexSet.h>
#include <vexil/platform/Value.h>

#include <span>

namespace vexil::detail {

struct IdentifierDifference {
  platform::IndexSet vanished;  // positions in the old list of what is not in the fresh one
  platform::IndexSet appeared;  // positions in the fresh list of what is not in the old one
};

/// Compares two lists of identifiers as sets. An identifier may occur several times. Takes linear
/// time, and hashes nothing that stands in the same order in both lists.
[[nodiscard]] IdentifierDifference identifierDifference(std::span<const platform::Value> old,
                                                        std::span<const platform::Value> fresh);

}  // namespace vexil::detail
