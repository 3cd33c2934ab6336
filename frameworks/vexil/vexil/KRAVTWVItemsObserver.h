// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Observable.h>

#include <memory>
#include <optional>
#include <string_view>

class KRAVTWVItemsObserver;

/// The key of an items observer's root, for hosts that observe it or set it by key.
extern const std::string_view KRAVTWVItemsObserverKeyPathRoot;  ///< "root"

/// Gets a report of every change of the children of any item of a watched tree.
class KRAVTWVItemsObserverDelegate : public vexil::platform::Object {
 public:
  /// Called after a change, on the thread that makes it and inside the operation that makes it.
  /// `parent` is the item whose children changed.
  ///
  /// - Insertion: `items` are the inserted items, `indexes` are theirs afterwards.
  /// - Removal: `items` are the removed items, `indexes` were theirs before.
  /// - Replacement: `items` are those that stood at `indexes` before. After a merge these are the
  ///   same objects with new content.
  /// - A setting of the whole list is two calls, both without indexes: a removal of the old items,
  ///   then a setting with the new ones.
  virtual void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& observer, vexil::platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<vexil::platform::IndexSet>& indexes,
      const std::shared_ptr<KRAVTWVItemVexil>& parent) = 0;
};

/// Watches a whole tree of items from its root and reports every change in it to a delegate.
///
///     auto observer = KRAVTWVItemsObserver::init();
///     observer->setDelegate(view);
///     observer->setRoot(list->root());
///     ...
///     observer->setRoot(nullptr);   // before the tree or the observer goes
///
/// The observer registers for "children" on every item of the tree. It registers on subtrees that
/// are inserted, and withdraws from subtrees that are removed, each before the report.
/// `addChild` announces nothing, so the observer does not follow what it adds: set the root after
/// building the tree. The observer does report when such items are removed or replaced.
///
/// Order of reports: the removals and insertions below a child during a merge come before the
/// replacement of the child. Setting the root reports nothing. A delegate may set the root during a
/// report, also to the same one. Then it gets no more reports of the changes in progress.
///
/// The observer holds root and delegate weakly. When the tree goes, `root` becomes absent without
/// an announcement. Some registrations may be left over: those on a tree whose observer is gone,
/// and, after `root` has been set or cleared, those on items that were taken out of the tree
/// without an announcement. They are never called and do no harm. So a host can set and clear the
/// root at any time. Withdrawing throws nothing.
///
/// Throws `InvalidArgument` out of a change when a list of children is set from or to an absent
/// one.
class KRAVTWVItemsObserver : public vexil::platform::Observable, public vexil::platform::Observer {
 public:
  /// Makes an observer without root and delegate. It registers on itself for "root". That is not
  /// possible in a constructor, because the observer must be held already.
  static std::shared_ptr<KRAVTWVItemsObserver> init();
  ~KRAVTWVItemsObserver() override;

  /// The root of the watched tree; may be absent. Setting it, also to the same root, withdraws from
  /// the old tree and registers on the new one. Announced under "root".
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> root() const { return read(_root).lock(); }
  void setRoot(const std::shared_ptr<KRAVTWVItemVexil>& root);

  /// May be absent: then the tree is followed, but nothing is reported. Setting it is announced
  /// under "delegate".
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
