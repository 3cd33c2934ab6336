// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Observable.h>

#include <memory>
#include <optional>
#include <string_view>

class KRAVTWVItemsObserver;

/// The key under which an items observer's root is observed and set.
extern const std::string_view KRAVTWVItemsObserverKeyPathRoot;  ///< "root"

/// Is told of every change of the children of any item of a watched tree.
class KRAVTWVItemsObserverDelegate : public vexil::platform::Object {
 public:
  /// Called on the changing thread, after the change and inside the operation that makes it.
  ///
  /// Of an insertion, `items` are the inserted ones and `indexes` theirs afterwards; of a removal,
  /// the removed ones and theirs before; of a replacement, the items that stood at `indexes`
  /// before, which after a merge are the same objects with new content. A setting of the whole list
  /// is two calls: a removal of the old items, then a setting with the new ones, both without
  /// indexes. `parent` is the item whose children changed.
  virtual void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& observer, vexil::platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<vexil::platform::IndexSet>& indexes,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) = 0;
};

/// Watches a whole tree of items from its root and tells a delegate of every change in it.
///
///     auto observer = KRAVTWVItemsObserver::init();
///     observer->setDelegate(view);
///     observer->setRoot(list->root());
///     ...
///     observer->setRoot(nullptr);   // before the tree or the observer goes
///
/// It is registered for "children" on every item of the tree, and keeps that in step: subtrees that
/// are inserted are registered on, subtrees that are removed withdrawn from, each before the
/// delegate hears of it. What `addChild` adds is not announced and so not followed; let the root be
/// watched when the tree has been built. That such items are removed or replaced is reported like
/// that of any others.
///
/// Order of reports: a child's own removals and insertions during a merge come before the
/// replacement that they are part of. Setting the root reports nothing. A delegate that sets the
/// root while it is being told, be it the same one, hears nothing more of the changes in progress.
///
/// Root and delegate are held weakly. A tree that goes clears `root` without an announcement.
/// Registrations that are left over are never called and do no harm: those on a tree whose observer
/// is gone, and, once `root` has been set or cleared, those on items that were taken out of the
/// tree unannounced. So the root can be set and cleared at any time; withdrawing throws nothing.
///
/// Throws `InvalidArgument` out of a change when a list of children is set from or to an absent
/// one.
class KRAVTWVItemsObserver : public vexil::platform::Observable, public vexil::platform::Observer {
 public:
  /// An observer without root and delegate. It is made here and not by its constructor because it
  /// registers on itself, for "root", for which it has to be held already.
  static std::shared_ptr<KRAVTWVItemsObserver> init();
  ~KRAVTWVItemsObserver() override;

  /// Setting it withdraws from the old tree and registers on the new one; setting the same root
  /// again does both. Announced under "root".
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> root() const { return read(_root).lock(); }
  void setRoot(const std::shared_ptr<KRAVTWVItemVexil>& root);

  /// Announced under "delegate". Without one, the tree is followed and nothing is reported.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemsObserverDelegate> delegate() const {
    return read(_delegate).lock();
  }
  void setDelegate(const std::shared_ptr<KRAVTWVItemsObserverDelegate>& delegate);

  void observeValueForKeyPathOfObjectChangeContext(
      const vexil::platform::Key& keyPath,
      const std::shared_ptr<vexil::platform::Observable>& object,
      const vexil::platform::ChangeRecord& change,
      const vexil::platform::ContextToken* context) override;

 protected:
  KRAVTWVItemsObserver() = default;
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override;

 private:
  class Watch;

  void rootDidChange(const vexil::platform::ChangeRecord& change);
  void childrenDidChange(const std::shared_ptr<KRAVTWVItemVexil>& parent,
                         const vexil::platform::ChangeRecord& change);
  void report(vexil::platform::ChangeKind kind, const vexil::platform::Value& items,
              const std::shared_ptr<KRAVTWVItemVexil>& parent,
              const vexil::platform::ChangeRecord& change);
  void leave(const std::shared_ptr<KRAVTWVItemVexil>& oldRoot) noexcept;
  void setRootValue(const vexil::platform::Value& root);
  void setDelegateValue(const vexil::platform::Value& delegate);

  std::weak_ptr<KRAVTWVItemVexil> _root;
  std::weak_ptr<KRAVTWVItemsObserverDelegate> _delegate;
  std::shared_ptr<Watch> _watch;  // what is registered on the tree
};
