// SPDX-License-Identifier: Apache-2.0
// A tree as an observer of its changes knows it.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsObserver.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace foreign {

/// Follows a tree by what an items observer reports, and by nothing else.
class Mirror : public KRAVTWVItemsObserverDelegate {
 public:
  explicit Mirror(const KRAVTWVItemVexil& root) { take(root); }

  /// Where the tree differs from what was reported. Nothing when it does not differ.
  [[nodiscard]] std::optional<std::string> difference(const KRAVTWVItemVexil& root) const;

  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& observer, vexil::platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<vexil::platform::IndexSet>& indexes,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) override;

 private:
  void take(const KRAVTWVItemVexil& item);

  std::map<const KRAVTWVItemVexil*, KRAVTWVItemArray> _childrenOf;
  std::string _errors;
};

}  // namespace foreign
