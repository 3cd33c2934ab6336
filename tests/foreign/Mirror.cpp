// SPDX-License-Identifier: Apache-2.0
#include "Mirror.h"

#include <algorithm>
#include <cstddef>

namespace platform = vexil::platform;

namespace foreign {

using platform::ChangeKind;

void Mirror::take(const KRAVTWVItemVexil& item) {
  const auto children = item.children();
  KRAVTWVItemArray& known = _childrenOf[&item];
  known = children ? *children : KRAVTWVItemArray();
  for (const auto& child : KRAVTWVItemArray(known)) {
    take(*child);
  }
}

void Mirror::itemsObserverDidObserveItemsIndexesParent(
    const std::shared_ptr<KRAVTWVItemsObserver>& /*observer*/, ChangeKind kind,
    const KRAVTWVItemArray& items, const std::optional<platform::IndexSet>& indexes,
    const std::shared_ptr<KRAVTWVItemVexil>& parent) {
  KRAVTWVItemArray& known = _childrenOf[parent.get()];
  const auto complain = [&](const char* what) { _errors += std::string(what) + "\n"; };
  if (!indexes) {
    known = kind == ChangeKind::removal ? KRAVTWVItemArray() : items;
  } else if (kind == ChangeKind::insertion) {
    auto item = items.begin();
    indexes->forEach([&](std::size_t index) {
      if (index > known.size() || item == items.end()) {
        return complain("an insertion was reported where nothing can be inserted");
      }
      known.insert(known.begin() + static_cast<std::ptrdiff_t>(index), *item++);
    });
  } else if (kind == ChangeKind::removal) {
    std::size_t removed = 0;
    indexes->forEach([&](std::size_t index) {
      if (index - removed >= known.size() || known[index - removed] != items[removed]) {
        return complain("a removal was reported of something that was not there");
      }
      known.erase(known.begin() + static_cast<std::ptrdiff_t>(index - removed++));
    });
  }
  if (kind != ChangeKind::removal && kind != ChangeKind::replacement) {
    for (const auto& item : items) {
      take(*item);
    }
  }
}

std::optional<std::string> Mirror::difference(const KRAVTWVItemVexil& root) const {
  if (!_errors.empty()) {
    return _errors;
  }
  const auto children = root.children();
  const auto known = _childrenOf.find(&root);
  if (known == _childrenOf.end() ||
      !std::ranges::equal(known->second, children ? *children : KRAVTWVItemArray())) {
    return "the children of " + root.description() + " are not the reported ones";
  }
  for (const auto& child : known->second) {
    if (auto difference = this->difference(*child)) {
      return difference;
    }
  }
  return std::nullopt;
}

}  // namespace foreign
