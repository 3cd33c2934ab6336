// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: all that has been announced since the rows were last prepared.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/changes/ItemJournal.h>

#include <unordered_map>
#include <unordered_set>

namespace vexil::detail {

struct Journals {
  using Item = KRAVTWVItemVexil;

  /// Of each item whose children changed. An address may be that of an item that is gone.
  std::unordered_map<const Item*, ItemJournal> ofItems;
  /// Items of which a property was set. Each may be gone, and another may be there.
  std::unordered_set<const Item*> withProperties;
  /// Whether every row must be compared.
  bool mustCompareAll = false;

  void clear() {
    ofItems.clear();
    withProperties.clear();
    mustCompareAll = false;
  }
};

}  // namespace vexil::detail
