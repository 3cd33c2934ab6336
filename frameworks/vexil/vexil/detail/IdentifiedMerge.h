// SPDX-License-Identifier: Apache-2.0
// Internal to the merge and to layers that watch it.
#pragma once

#include <cstdint>
#include <exception>
#include <memory>

namespace vexil::platform {
class Observable;
}

namespace vexil::detail {

struct EventLineage;

/// While one lives, what an item announces about its children on this thread comes from a merge of
/// records whose identifiers are known to be there and to differ. So a watcher need not compare
/// them. A replacement is the last that such a merge announces, and the children are the fresh ones
/// then.
class IdentifiedMerge {
 public:
  /// `receiver` is the item; null when nothing is known of its fresh children. `lineage` is that of
  /// the fresh children, if they are a whole list.
  IdentifiedMerge(const platform::Observable* receiver,
                  const std::shared_ptr<const EventLineage>* lineage) noexcept
      : _receiver(receiver), _lineage(lineage), _outer(current) {
    current = this;
  }
  IdentifiedMerge(const IdentifiedMerge&) = delete;
  IdentifiedMerge& operator=(const IdentifiedMerge&) = delete;
  ~IdentifiedMerge() { current = _outer; }

  [[nodiscard]] static bool isOf(const platform::Observable& item) noexcept {
    return current != nullptr && current->_receiver == &item;
  }
  /// Null when nothing is known.
  [[nodiscard]] static std::shared_ptr<const EventLineage> lineageOf(
      const platform::Observable& item) noexcept {
    return isOf(item) && current->_lineage != nullptr ? *current->_lineage : nullptr;
  }

 private:
  static constinit inline thread_local const IdentifiedMerge* current = nullptr;
  const platform::Observable* _receiver;
  const std::shared_ptr<const EventLineage>* _lineage;
  const IdentifiedMerge* _outer;
};

/// One lives while a merge takes children out and puts others in. When that fails, the receiver has
/// some of its old children and some fresh ones. Then their identifiers need not differ, whatever
/// was announced in an `IdentifiedMerge`.
class MergeAttempt {
 public:
  MergeAttempt() noexcept : _exceptions(std::uncaught_exceptions()) {}
  MergeAttempt(const MergeAttempt&) = delete;
  MergeAttempt& operator=(const MergeAttempt&) = delete;
  ~MergeAttempt() { failed += std::uncaught_exceptions() > _exceptions ? 1U : 0U; }

  /// How many have ended with an exception on this thread.
  [[nodiscard]] static std::uint64_t failures() noexcept { return failed; }

 private:
  static constinit inline thread_local std::uint64_t failed = 0;
  int _exceptions;
};

}  // namespace vexil::detail
