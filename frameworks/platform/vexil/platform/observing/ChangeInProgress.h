// SPDX-License-Identifier: Apache-2.0
// Internal to observation.
#pragma once

#include <vexil/platform/Observing.h>
#include <vexil/platform/observing/ObserverList.h>

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace vexil::platform {

class Observable;

namespace detail {

/// A change between its will-change and the end of its delivery. Those of an object can be found,
/// so that a withdrawal is noted wherever the registration is still to be told, whichever threads
/// began the change and end it.
struct ChangeInProgress {
  /// The change of one key, for all observers of that key.
  struct KeyChange {
    Key key;
    ChangeRecord record;
    bool wantsOld = false;
    bool wantsNew = false;
    bool isUnreadable = false;  // its getter threw when the new value was to be read
  };
  /// What becomes of one registration.
  struct Notice {
    const Registration* registration;
    std::size_t keyChange;  // `none` when it is not concerned
    bool isWithdrawn;       // since will-change
    [[nodiscard]] bool isToBeDelivered() const { return keyChange != none && !isWithdrawn; }
  };
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  /// A change of `key` of an object that is observed; its registrations are as they are now.
  ChangeInProgress(std::shared_ptr<Observable> changing, ChangeKind kind, const IndexSet* indexes,
                   const Key& key);
  ChangeInProgress(const ChangeInProgress&) = delete;
  ChangeInProgress& operator=(const ChangeInProgress&) = delete;
  ~ChangeInProgress();

  /// Returns the position of the change of `key` in `keyChanges`, and adds one when there is none.
  std::size_t findOrAddKeyChange(const Key& key);

  /// Notes in every change of `object` that is in progress that the registrations at `positions`,
  /// in ascending order, are withdrawn.
  static void noteWithdrawn(const Observable& object,
                            std::span<const std::size_t> positions) noexcept;

  std::shared_ptr<Observable> object;
  ObserverListPointer list;           // keeps what the notices point to
  std::vector<Notice> notices;        // one for each registration, in their order
  std::vector<KeyChange> keyChanges;  // the first is that of the changing key itself

 private:
  void noteWithdrawn(std::span<const std::size_t> positions) noexcept;
  [[nodiscard]] static ChangeInProgress* next(const Observable& object,
                                              const ChangeInProgress* before) noexcept;

  // For each registration that the object has now, its place in `notices`. Those that came later
  // stand behind these, so they need no entry.
  std::vector<std::size_t> _places;
  // Among the changes that are found at the same place of a table.
  ChangeInProgress* _before = nullptr;
  ChangeInProgress* _after = nullptr;
};

}  // namespace detail
}  // namespace vexil::platform
