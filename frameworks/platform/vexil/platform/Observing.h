// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/IndexSet.h>
#include <vexil/platform/Key.h>
#include <vexil/platform/Value.h>

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace vexil::platform {

class Observable;

namespace detail {
class ClosureObserver;
}

/// What happened to a property. The numbers are the ones that views know.
enum class ChangeKind : unsigned {
  setting = 1,      ///< the whole value was set
  insertion = 2,    ///< elements were inserted; the indexes are theirs afterwards
  removal = 3,      ///< elements were removed; the indexes were theirs before
  replacement = 4,  ///< the elements at the indexes are others now, or their content is
};

/// What a registration wants in its change records; a bit mask.
enum class ObservingOptions : unsigned { none = 0, newValue = 1, oldValue = 2, both = 3 };

constexpr ObservingOptions operator|(ObservingOptions a, ObservingOptions b) {
  return static_cast<ObservingOptions>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool wants(ObservingOptions options, ObservingOptions part) {
  return (static_cast<unsigned>(options) & static_cast<unsigned>(part)) != 0;
}

/// Tells an observer's registrations apart: one static object for each purpose, compared by
/// address and never by its text, which is for people.
class ContextToken {
 public:
  explicit constexpr ContextToken(std::string_view text) : _text(text) {}
  ContextToken(const ContextToken&) = delete;
  ContextToken& operator=(const ContextToken&) = delete;
  [[nodiscard]] constexpr std::string_view text() const { return _text; }

 private:
  std::string_view _text;
};

/// One change, as an observer is told of it.
///
/// A setting carries the old and the new value of the key, the null marker standing for an absent
/// one, and no indexes. The other kinds carry indexes and, as arrays, the elements at them: a
/// removal the old ones, an insertion the new ones, a replacement both. What does not apply, or was
/// not asked for at registration, is absent.
///
/// The record is shared by the observers of one change; an observer that keeps it copies it, which
/// copies no element.
struct ChangeRecord {
  ChangeKind kind = ChangeKind::setting;
  Value oldValue;
  Value newValue;
  std::optional<IndexSet> indexes;
};

/// Is told of changes it registered for with `Observable::addObserver`.
class Observer {
 public:
  Observer() = default;
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;
  virtual ~Observer() = default;

  /// Called on the changing thread, after the change and before the operation that made it returns.
  ///
  /// `object` is the object that changed, kept alive for the call; `keyPath` and `context` are
  /// those of the registration. The observer may register, withdraw, change the same object or let
  /// go of itself meanwhile; see `Observable`. An exception passes through to whoever made the
  /// change.
  ///
  /// A class that overrides this hands on, to its base class, what arrives under a context it does
  /// not know. The last base class, this one, raises `UnexpectedNotice`.
  virtual void observeValueForKeyPathOfObjectChangeContext(
      const Key& keyPath, const std::shared_ptr<Observable>& object, const ChangeRecord& change,
      const ContextToken* context);
};

/// A registration by closure, which ends with this handle.
///
/// The handle keeps neither the object nor anything else alive but the closure itself. It may be
/// ended or destroyed at any time, also by the closure while it runs; from then on the closure is
/// not called again.
class [[nodiscard]] Observation {
 public:
  Observation() = default;
  Observation(Observation&&) noexcept = default;
  Observation& operator=(Observation&& other) noexcept;
  ~Observation() { end(); }

  /// Withdraws the registration; nothing happens when it has ended or the object is gone. The
  /// handle itself may go by this, where only its closure keeps it.
  void end() noexcept;

 private:
  friend Observation observe(const std::shared_ptr<Observable>&, const Key&, ObservingOptions,
                             std::function<void(const ChangeRecord&)>);
  Observation(std::weak_ptr<Observable> object, Key key,
              std::shared_ptr<detail::ClosureObserver> observer);

  std::weak_ptr<Observable> _object;
  std::optional<Key> _key;
  std::shared_ptr<detail::ClosureObserver> _observer;
};

/// Calls `notify` for every change of `key` of `object` until the handle ends. Order, re-entrancy
/// and exceptions are those of `Observable::addObserver`, on which it is built. Raises
/// `InvalidArgument` when the object or the closure is absent.
Observation observe(const std::shared_ptr<Observable>& object, const Key& key,
                    ObservingOptions options, std::function<void(const ChangeRecord&)> notify);

}  // namespace vexil::platform
