// SPDX-License-Identifier: Apache-2.0
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/items/ItemFields.h>
#include <vexil/items/ItemWalk.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/ManyRegistrations.h>
#include <vexil/platform/detail/ManyQuietWithdrawals.h>

#include <new>
#include <utility>

namespace platform = vexil::platform;

constinit const std::string_view KRAVTWVItemsObserverKeyPathRoot = "root";

using platform::ChangeKind;
using platform::ChangeRecord;
using platform::ContextToken;
using platform::Key;
using platform::KeyAccess;
using platform::ObservingOptions;
using platform::Value;
using vexil::detail::ItemFields;

namespace {

constexpr ContextToken rootContext("KRAVTWVItemsObserverKVOContextRoot");
constexpr ContextToken childrenContext("KRAVTWVItemsObserverKVOContextChildren");

const Key& rootKey() {
  static const Key key(KRAVTWVItemsObserverKeyPathRoot);
  return key;
}

std::shared_ptr<KRAVTWVItemVexil> itemOrNull(const Value& value) {
  return std::dynamic_pointer_cast<KRAVTWVItemVexil>(value.object());
}

/// Calls `visit` for each item in the subtrees of a change record's array. Throws `InvalidArgument`
/// when it is no array.
template <class Visit>
void walkThroughTreesIn(const Value& items, const Visit& visit) {
  if (!items.isArray()) {
    throw platform::InvalidArgument("a watched item's children were or became absent");
  }
  for (const Value& item : items.elements()) {
    vexil::detail::ItemWalk::throughTree(static_cast<KRAVTWVItemVexil&>(*item.object()), visit);
  }
}

void registerOn(const Value& items, const std::shared_ptr<platform::Observer>& observer) {
  platform::ManyRegistrations registrations(observer, ItemFields::childrenKey(),
                                            ObservingOptions::both, &childrenContext);
  walkThroughTreesIn(items, [&](KRAVTWVItemVexil& item) { registrations.addTo(item); });
}

void withdrawFrom(const Value& items, const std::shared_ptr<platform::Observer>& observer) {
  platform::detail::ManyQuietWithdrawals withdrawals(observer, ItemFields::childrenKey(),
                                                     &childrenContext);
  walkThroughTreesIn(items, [&](KRAVTWVItemVexil& item) { withdrawals.removeFrom(item); });
}

KRAVTWVItemArray itemsIn(const Value& values) {
  KRAVTWVItemArray items;
  items.reserve(values.elements().size());
  for (const Value& value : values.elements()) {
    items.push_back(std::static_pointer_cast<KRAVTWVItemVexil>(value.object()));
  }
  return items;
}

}  // namespace

/// Is registered on the items of one tree in place of the items observer, and passes notices on to
/// it. Setting or clearing the root ends it. Registrations that cannot be found by then belong to
/// an observer that is gone, and so do no harm.
class KRAVTWVItemsObserver::Watch : public platform::Observer {
 public:
  explicit Watch(const std::shared_ptr<KRAVTWVItemsObserver>& observer) : _observer(observer) {}

  void observeValueForKeyPathOfObjectChangeContext(
      const Key& keyPath, const std::shared_ptr<platform::Observable>& object,
      const ChangeRecord& change, const ContextToken* context) override {
    if (const auto observer = _observer.lock()) {
      observer->observeValueForKeyPathOfObjectChangeContext(keyPath, object, change, context);
    }
  }
  /// Passes on no more notices, even if a delivery still holds this object.
  void end() noexcept { _observer.reset(); }

 private:
  std::weak_ptr<KRAVTWVItemsObserver> _observer;
};

std::shared_ptr<KRAVTWVItemsObserver> KRAVTWVItemsObserver::init() {
  std::shared_ptr<KRAVTWVItemsObserver> observer(new KRAVTWVItemsObserver);
  observer->addObserver(observer, rootKey(), ObservingOptions::both, &rootContext);
  return observer;
}

// The observer need not withdraw from itself: its destruction ends that registration.
KRAVTWVItemsObserver::~KRAVTWVItemsObserver() = default;

void KRAVTWVItemsObserver::setRoot(const std::shared_ptr<KRAVTWVItemVexil>& root) {
  assign(rootKey(), _root, std::weak_ptr(root));
}

void KRAVTWVItemsObserver::setRootValue(const Value& root) {
  setRoot(root.isAbsent() ? nullptr : ItemFields::itemIn(root));
}

void KRAVTWVItemsObserver::setDelegate(
    const std::shared_ptr<KRAVTWVItemsObserverDelegate>& delegate) {
  static const Key key("delegate");
  assign(key, _delegate, std::weak_ptr(delegate));
}

void KRAVTWVItemsObserver::setDelegateValue(const Value& delegate) {
  auto object = std::dynamic_pointer_cast<KRAVTWVItemsObserverDelegate>(delegate.object());
  if (!object && !delegate.isAbsent()) {
    throw platform::InvalidArgument("not a delegate: " + delegate.description());
  }
  setDelegate(object);
}

const platform::KeyTable& KRAVTWVItemsObserver::keyTable() const {
  using ItemsObserver = KRAVTWVItemsObserver;
  static const platform::KeyTable table(
      nullptr, {KeyAccess::readWrite<&ItemsObserver::root, &ItemsObserver::setRootValue>(rootKey()),
                KeyAccess::readWrite<&ItemsObserver::delegate, &ItemsObserver::setDelegateValue>(
                    "delegate")});
  return table;
}

void KRAVTWVItemsObserver::observeValueForKeyPathOfObjectChangeContext(
    const Key& keyPath, const std::shared_ptr<platform::Observable>& object,
    const ChangeRecord& change, const ContextToken* context) {
  if (context == &rootContext) {
    rootDidChange(change);
  } else if (context == &childrenContext) {
    childrenDidChange(std::static_pointer_cast<KRAVTWVItemVexil>(object), change);
  } else {
    Observer::observeValueForKeyPathOfObjectChangeContext(keyPath, object, change, context);
  }
}

void KRAVTWVItemsObserver::rootDidChange(const ChangeRecord& change) {
  leave(itemOrNull(change.oldValue));
  if (const auto newRoot = itemOrNull(change.newValue)) {
    _watch =
        std::make_shared<Watch>(std::static_pointer_cast<KRAVTWVItemsObserver>(shared_from_this()));
    newRoot->addObserverForRecursiveChildrenWithOptionContext(_watch, ObservingOptions::both,
                                                              &childrenContext);
  }
}

void KRAVTWVItemsObserver::leave(const std::shared_ptr<KRAVTWVItemVexil>& oldRoot) noexcept {
  const auto watch = std::exchange(_watch, nullptr);
  if (!watch) {
    return;
  }
  watch->end();
  if (oldRoot) {
    try {
      platform::detail::ManyQuietWithdrawals withdrawals(watch, ItemFields::childrenKey(),
                                                         &childrenContext);
      vexil::detail::ItemWalk::throughTree(
          *oldRoot, [&](KRAVTWVItemVexil& item) { withdrawals.removeFrom(item); });
    } catch (const std::bad_alloc&) {
      // The other registrations stay. They do no harm.
    }
  }
}

void KRAVTWVItemsObserver::childrenDidChange(const std::shared_ptr<KRAVTWVItemVexil>& parent,
                                             const ChangeRecord& change) {
  // The delegate may let go of the observer, and may set another root, which replaces the watch.
  const auto self = shared_from_this();
  const std::shared_ptr<Watch> watch = _watch;
  if (!watch) {
    return;
  }
  const bool isReplacement = change.kind == ChangeKind::replacement;
  if (!change.oldValue.isAbsent()) {
    withdrawFrom(change.oldValue, watch);
    if (!isReplacement) {
      // A setting, too, is a removal first: a view loses the old list.
      report(ChangeKind::removal, change.oldValue, parent, change);
    }
  }
  if (watch != _watch) {
    return;
  }
  if (!change.newValue.isAbsent()) {
    registerOn(change.newValue, watch);
    if (!isReplacement) {
      report(change.kind, change.newValue, parent, change);
    }
  }
  if (isReplacement) {
    report(ChangeKind::replacement, change.oldValue, parent, change);
  }
}

void KRAVTWVItemsObserver::report(ChangeKind kind, const Value& items,
                                  const std::shared_ptr<KRAVTWVItemVexil>& parent,
                                  const ChangeRecord& change) {
  if (const auto delegate = this->delegate()) {
    delegate->itemsObserverDidObserveItemsIndexesParent(
        std::static_pointer_cast<KRAVTWVItemsObserver>(shared_from_this()), kind, itemsIn(items),
        change.indexes, parent);
  }
}
