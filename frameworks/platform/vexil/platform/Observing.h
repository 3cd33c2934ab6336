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

/// What happened to a property. Views know these numbers.
enum class ChangeKind : unsigned {
  setting = 1,      ///< the whole value was set
  insertion = 2,    ///< elements were inserted; the indexes are theirs afterwards
  removal = 3,      ///< elements were removed; the indexes were theirs before
  replacement = 4,  ///< the elements at the indexes are others now, or have other content
};

/// What a registration wants in its change records; a bit mask.
enum class ObservingOptions : unsigned { none = 0, newValue = 1, oldValue = 2, both = 3 };

constexpr ObservingOptions operator|(ObservingOptions a, ObservingOptions b) {
  return static_cast<ObservingOptions>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool wants(ObservingOptions options, ObservingOptions part) {
  return (static_cast<unsigned>(options) & static_cast<unsigned>(part)) != 0;
}

/// Tells the registrations of an observer apart. Make one static object for each purpose. Tokens
/// are compared by address, never by their text, which is for people.
class ContextToken {
 public:
  explicit constexpr ContextToken(std::string_view text) : _text(text) {}
  ContextToken(const ContextToken&) = delete;
  ContextToken& operator=(const ContextToken&) = delete;
  [[nodiscard]] constexpr std::string_view text() const { return _text; }

 private:
  std::string_view _text;
};

/// What a notice carries.
///
/// A setting carries the old and the new value of the key, and no indexes. The null marker stands
/// for an absent value. The other kinds carry indexes and, as arrays, the elements at them: a
/// removal the old ones, an insertion the new ones, a replacement both. What does not apply, or
/// what the registration did not ask for, is absent.
///
/// The observers of one change share the record. An observer that keeps it must copy it; that
/// copies no element.
struct ChangeRecord {
  ChangeKind kind = ChangeKind::setting;
  Value oldValue;
  Value newValue;
  std::optional<IndexSet> indexes;
};

/// Receives notices of the changes for which it is registered with `Observable::addObserver`.
class Observer {
 public:
  Observer() = default;
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;
  virtual ~Observer() = default;

  /// Called on the changing thread, after the change and before the operation that made it returns.
  ///
  /// `object` is the object that changed, kept alive for the call. `keyPath` and `context` are
  /// those of the registration. The observer may register, withdraw, change the same object or let
  /// go of itself meanwhile; see `Observable`. An exception passes through to the code that made
  /// the change.
  ///
  /// A class that overrides this must call its base class when it does not know the context. The
  /// last base class, this one, throws `UnexpectedNotice`.
  virtual void observeValueForKeyPathOfObjectChangeContext(
      const Key& keyPath, const std::shared_ptr<Observable>& object, const ChangeRecord& change,
      const ContextToken* context);
};

/// A handle to the registration of a closure. Destroying the handle ends the registration.
///
/// The handle keeps the closure alive, and nothing else. It may be ended or destroyed at any time,
/// also by the closure while it runs. The closure is not called again after that.
class [[nodiscard]] Observation {
 public:
  Observation() = default;
  Observation(Observation&&) noexcept = default;
  Observation& operator=(Observation&& other) noexcept;
  ~Observation() { end(); }

  /// Withdraws the registration. Nothing happens when it has ended or the object is gone. This may
  /// destroy the handle itself, when only its closure keeps it alive.
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

/// Calls `notify` for every change of `key` of `object` until the handle ends. It is built on
/// `Observable::addObserver`, so order, re-entrancy and exceptions are the same. Throws
/// `InvalidArgument` when the object or the closure is absent.
Observation observe(const std::shared_ptr<Observable>& object, const Key& key,
                    ObservingOptions options, std::function<void(const ChangeRecord&)> notify);

}  // namespace vexil::platform
