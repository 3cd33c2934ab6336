// SPDX-License-Identifier: Apache-2.0
// Internal to observers of trees.
#pragma once

#include <vexil/platform/detail/ListChanges.h>

#include <memory>

namespace vexil::platform::detail {

/// `ManyWithdrawals`, but an object without such a registration is left as it is.
class ManyQuietWithdrawals : ListChanges {
 public:
  /// Holds the observer as long as it exists itself.
  ManyQuietWithdrawals(const std::shared_ptr<Observer>& observer, const Key& key,
                       const ContextToken* context)
      : _observer(observer), _key(key), _context(context) {}

  void removeFrom(Observable& object) {
    if (!repeat(object)) {
      learn(object, [&] { (void)withdraw(object, _observer, _key, _context); });
    }
  }

 private:
  std::shared_ptr<Observer> _observer;
  Key _key;
  const ContextToken* _context;
};

}  // namespace vexil::platform::detail
