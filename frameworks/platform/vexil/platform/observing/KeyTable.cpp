// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/KeyTable.h>

#include <algorithm>

namespace vexil::platform {

const KeyAccess* KeyTable::find(const Key& key) const noexcept {
  for (const KeyTable* table = this; table != nullptr; table = table->_base) {
    const auto found = std::ranges::find(table->_own, key, &KeyAccess::key);
    if (found != table->_own.end()) {
      return &*found;
    }
  }
  return nullptr;
}

}  // namespace vexil::platform
