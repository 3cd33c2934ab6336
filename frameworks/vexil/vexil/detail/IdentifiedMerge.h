// SPDX-License-Identifier: Apache-2.0
// Internal to the merge and to layers that watch it.
#pragma once

namespace vexil::platform {
class Observable;
}

namespace vexil::detail {

/// While one lives, what an item announces about its children on this thread comes from a merge of
/// records whose identifiers are known to be there and to differ. So a watcher need not compare
/// them.
class IdentifiedMerge {
 public:
  /// `receiver` is the item; null when nothing is known of its fresh children.
  explicit IdentifiedMerge(const platform::Observable* receiver) noexcept : _before(current) {
    current = receiver;
  }
  IdentifiedMerge(const IdentifiedMerge&) = delete;
  IdentifiedMerge& operator=(const IdentifiedMerge&) = delete;
  ~IdentifiedMerge() { current = _before; }

  [[nodiscard]] static bool isOf(const platform::Observable& item) noexcept {
    return current == &item;
  }

 private:
  static constinit inline thread_local const platform::Observable* current = nullptr;
  const platform::Observable* _before;
};

}  // namespace vexil::detail
