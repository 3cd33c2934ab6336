// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/detail/ItemStorage.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/IndexSet.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Value.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

class KRAVTWVItemVexil;

namespace vexil {
template <class Self, class Base>
class ItemFactories;
namespace detail {
struct ItemFields;
}
}  // namespace vexil

/// Keys of an item that hosts observe.
extern const std::string_view KRAVTWVItemVexilKeyPathChildren;  ///< "children"
extern const std::string_view KRAVTWVItemVexilKeyPathLabel;     ///< "label"

/// An ordered array of items; none of them is a null pointer.
using KRAVTWVItemArray = std::vector<std::shared_ptr<KRAVTWVItemVexil>>;

/// A node of every tree that outline views show. It wraps one represented object. It has an
/// identifier among its siblings, a label, an enabled flag, a weak link to its parent, and an
/// ordered array of children, which it owns.
///
/// Making one. Items are held by `std::shared_ptr`. Factories make them: each makes an item of the
/// class it is called on. A host's own kind gets the factories with one line:
///
///     class HostEvent : public KRAVTWVKind<HostEvent, KRAVTWVEventVexil> {
///      public:
///       using KRAVTWVKind::KRAVTWVKind;
///       vexil::platform::Value representedEvent() const override { ... }
///     };
///     std::shared_ptr<HostEvent> item = HostEvent::itemWithEvent(record);
///
/// Identifiers and labels are meant to be strings. Their type is `Value`, because a kind returns
/// what its record holds, unchecked, also when that is absent.
///
/// What is announced. Every setter announces its own key. `representedObject` also announces the
/// keys that depend on it, "children" also "isGroup" and "isExpandable". `removeChildrenAtIndexes`
/// and `replaceChildren` announce changes of "children" with their indexes. **`addChild` and
/// `addChildren` announce nothing about "children"**: they fill items that nobody watches yet.
///
/// Who owns whom. An item owns its children and refers to its parent weakly. `addChild` and
/// `addChildren` set the parent of a child, and nothing else but `setParent` ever changes it. So an
/// item that `replaceChildren` inserts keeps the parent it had, and so does one that it removes.
///
/// Threads. Every property is atomic by itself. These belong to one thread at a time: operations on
/// children, making an item the parent of another, and every change of an observed tree.
///
/// No operation recurses with the depth of the tree. Only a chain of items that represent items is
/// compared and hashed by recursion. A tree must not contain itself.
class KRAVTWVItemVexil : public vexil::platform::Observable {
 public:
  /// `initWithRepresentedObject:`. The object may be absent. The item has no identifier, label or
  /// parent, is not enabled, and its children are an empty array.
  explicit KRAVTWVItemVexil(vexil::platform::Value representedObject);
  ~KRAVTWVItemVexil() override;

  /// Returns nothing, on purpose: an item is made with what it represents.
  static std::shared_ptr<KRAVTWVItemVexil> init() { return nullptr; }

  static std::shared_ptr<KRAVTWVItemVexil> itemWithRepresentedObject(vexil::platform::Value object);

  /// What `KRAVTWVKind` makes the factories of a subclass from. A kind with factories of its own
  /// replaces it.
  template <class Self, class Base>
  using Factories = vexil::ItemFactories<Self, Base>;

  /// The keys whose values follow from the represented object; a class operation. A kind adds its
  /// own keys to those of its base class. "representedEvent" is in the set of every class; it does
  /// no harm where a kind does not have it.
  [[nodiscard]] virtual std::set<std::string> keyPathsForValuesAffectedByRepresentedObject() const;

  /// The keys that a key depends on. Each key of the set above depends on "representedObject".
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const vexil::platform::Key& key) const override;
  [[nodiscard]] virtual std::set<std::string> keyPathsForValuesAffectingIsExpandable() const;
  [[nodiscard]] virtual std::set<std::string> keyPathsForValuesAffectingIsGroup() const;

  // --- properties

  [[nodiscard]] virtual vexil::platform::Value uniqueID() const {
    return readRare(&Rare::_uniqueID);
  }
  void setUniqueID(vexil::platform::Value uniqueID);

  [[nodiscard]] virtual vexil::platform::Value label() const { return readRare(&Rare::_label); }
  void setLabel(vexil::platform::Value label);

  [[nodiscard]] vexil::platform::Value representedObject() const {
    return read(_stored._representedObject);
  }
  void setRepresentedObject(vexil::platform::Value object);

  /// Absent once the parent is gone.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> parent() const {
    return read(_stored._parent).lock();
  }
  void setParent(const std::shared_ptr<KRAVTWVItemVexil>& parent);

  /// The array of children itself, not a copy: it changes as the item does. Code that changes it
  /// directly must announce that.
  ///
  /// A null pointer when the children are absent, which they are only after
  /// `setChildren(nullptr)`. An absent array counts as one without elements. `addChild` and
  /// `replaceChildren` start a new array in its place.
  ///
  /// `setChildren` throws `InvalidArgument`, with nothing changed, when the array holds a null
  /// pointer.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemArray> children() const;
  void setChildren(std::shared_ptr<KRAVTWVItemArray> children);

  /// Whether views offer a switch for `enabled`.
  [[nodiscard]] virtual bool supportsEnabled() const { return false; }
  [[nodiscard]] virtual bool enabled() const { return _enabled; }

  /// Both are true when there is at least one child. Some kinds override `isGroup`.
  [[nodiscard]] virtual bool isGroup() const { return !isLeaf(); }
  [[nodiscard]] virtual bool isExpandable() const { return !isLeaf(); }

  // --- equality

  /// Equality by content: true when `other` is of the receiver's own class or of a subclass of it,
  /// and `isEqualToItem` is true. So a plain item can equal an event, but an event never equals a
  /// plain item. An item always equals itself. Takes time in proportion to the subtree, less where
  /// it differs.
  [[nodiscard]] bool isEqual(const vexil::platform::Object& other) const final;
  [[nodiscard]] bool isEqual(const vexil::platform::Value& other) const;

  /// True when the represented objects are equal, as the receiver's says, and the children are
  /// equal, one by one. False when the receiver represents nothing. Identifier, label, enabled and
  /// parent are not compared.
  [[nodiscard]] bool isEqualToItem(const KRAVTWVItemVexil& item) const;

  /// 31 * hash of the represented object (0 when absent) + hash of the children + 961. The hash of
  /// the children follows from all represented objects of the subtree.
  [[nodiscard]] std::size_t hash() const final;

  /// `<Class: address> { uniqueID, label }`.
  [[nodiscard]] std::string description() const override;

  // --- children

  /// Appends `child` and sets its parent to this item. First removes the children that equal it, as
  /// they say (`element.isEqual(child)`). So adding an item again moves it to the end. Throws
  /// `InvalidArgument` for a null pointer.
  void addChild(std::shared_ptr<KRAVTWVItemVexil> child);

  /// `addChild` for each item in order, with one difference: the parents of all are set first, and
  /// then the children change at once. Takes linear time, unless many items of one hash are not
  /// equal. When an item's hash or equality throws, the items before it are
  /// added, and then the exception passes on. That item and the items behind it are left alone.
  void addChildren(const KRAVTWVItemArray& children);

  /// Removes the children at these positions and announces one removal. Nothing happens when there
  /// are no positions. The `parent` of a removed child stays. Throws `RangeError`, with nothing
  /// changed or announced, when a position is past the end.
  void removeChildrenAtIndexes(const vexil::platform::IndexSet& indexes);

  /// Brings the children in line with a freshly built array and keeps the items whose identifiers
  /// are still there.
  ///
  /// Makes at most three announcements of "children", and omits those without indexes:
  /// 1. removal of the children whose identifier is not in `fresh`, at their old positions;
  /// 2. insertion of the items of `fresh` whose identifier is not among the children, those very
  ///    objects, at their positions in `fresh`;
  /// 3. replacement at the positions where a child that stayed does not equal the item at the same
  ///    position of `fresh`. While this change is pending, each such child takes over that item's
  ///    represented object (`setRepresentedObject`) and, by this same operation, its children. The
  ///    child keeps its class, stored identifier, stored label and parent. So observers get
  ///    the notices of all changes inside a child before that of the replacement.
  ///
  /// Children that stay are paired with `fresh` by position, not by identifier. Where the order has
  /// changed, they take over each other's content. Nothing is announced when nothing differs. A
  /// child that represents nothing never equals its counterpart and is refreshed every time.
  ///
  /// Throws `InvalidArgument`, with nothing changed, when an item on either side has no identifier.
  /// Throws `RangeError` when a position is past the end of an array. That happens when an
  /// identifier occurs twice, and when foreign code (an identifier, an object's equality, a getter,
  /// an observer) takes items out of either array in the middle. What was changed and announced
  /// before stays.
  ///
  /// Cost: linear in both arrays and in the subtrees compared, if nobody observes the subtrees and
  /// nobody but its parent holds anything in them; so hand the array over with `std::move`.
  /// Otherwise observers and other holders may change what was compared: below an observed item,
  /// and below one that is held elsewhere too, each level is compared anew.
  ///
  /// `fresh` may be a null pointer, which is an empty array.
  void replaceChildren(const std::shared_ptr<const KRAVTWVItemArray>& fresh);

  /// Throws `RangeError` when `index` is past the end.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> childAtIndex(std::size_t index) const;

  /// All descendants in post-order: every item after its own descendants, siblings in their order.
  /// This item is not included.
  [[nodiscard]] KRAVTWVItemArray recursiveChildren() const;

  // --- the whole subtree

  /// `addObserver...` registers for "children" on all `recursiveChildren`, as they are now, and
  /// then on this item. `removeObserver...` withdraws in the same order. They throw what
  /// `addObserver` and `removeObserver` throw; what was done before stays. Linear in the items,
  /// with little work for an item that is observed like the one before it.
  void addObserverForRecursiveChildrenWithOptionContext(
      const std::shared_ptr<vexil::platform::Observer>& observer,
      vexil::platform::ObservingOptions options, const vexil::platform::ContextToken* context);
  void removeObserverForRecursiveChildrenWithContext(
      const std::shared_ptr<vexil::platform::Observer>& observer,
      const vexil::platform::ContextToken* context);

  // --- paths

  /// "/" and the identifier, for each item from the topmost parent down to this one. Throws
  /// `InvalidArgument` when the identifier of one of them is not a string.
  [[nodiscard]] std::string path() const;

  /// The item at `path`, which begins with this item's own identifier; null when there is none.
  /// When siblings share an identifier, the first one that leads to an item counts. Throws
  /// `InvalidArgument` when the search comes to an item whose identifier is not a string.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> itemWithPath(std::string_view path) const;

  /// Makes a new, empty directory of this user's below the temporary directory. Absent when five
  /// attempts fail. Uses nothing of the item.
  [[nodiscard]] std::optional<vexil::platform::FileURL> URLForUniqueTemporaryDirectory() const;

 protected:
  [[nodiscard]] const vexil::platform::KeyTable& keyTable() const override {
    return itemKeyTable();
  }
  static const vexil::platform::KeyTable& itemKeyTable();
  [[nodiscard]] vexil::platform::Value valuesAtIndexesForKey(
      const vexil::platform::IndexSet& indexes, const vexil::platform::Key& key) const override;
  [[nodiscard]] bool canReuseOldValuesAtIndexesForKey(
      const vexil::platform::Value& oldValues, const vexil::platform::IndexSet& indexes,
      const vexil::platform::Key& key) const override;

  /// Whether `other` is of a subclass of the receiver's class. Asked only when the two are of
  /// different classes. `KRAVTWVKind` overrides this for every kind.
  [[nodiscard]] virtual bool isKindOfReceiversClass(const KRAVTWVItemVexil& other) const;

  std::atomic<bool> _enabled{false};

 private:
  friend struct vexil::detail::ItemFields;
  using Rare = vexil::detail::ItemStorage::Rare;

  [[nodiscard]] bool isLeaf() const;
  [[nodiscard]] Rare& rare() const;
  [[nodiscard]] vexil::platform::Value readRare(vexil::platform::Value Rare::*field) const;
  [[nodiscard]] vexil::detail::ItemReference referenceToSelf();
  [[nodiscard]] KRAVTWVItemArray& childrenForAdding();
  void removeChildrenIn(KRAVTWVItemArray& items);
  [[nodiscard]] vexil::platform::Value childrenValue() const;
  void setChildrenValue(const vexil::platform::Value& children);
  void setParentValue(const vexil::platform::Value& parent);

  vexil::detail::ItemStorage _stored;
};
